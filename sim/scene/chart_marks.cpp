// SPDX-License-Identifier: Apache-2.0
#include "scene/chart_marks.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "scene/lettering.h"

namespace kxsim {
namespace {

using std::numbers::pi_v;

struct Stretch {
  float centre;
  float width;

  /// The part between `low` and `high`; its width is 0 when there is none.
  Stretch between(float low, float high) const {
    const float begin = std::max(centre - width / 2, low);
    const float end = std::min(centre + width / 2, high);
    return {(begin + end) / 2, std::max(end - begin, 0.0F)};
  }
};

/// Share of the stretch of `width` around `centre` that lies between `low` and `high`.
float share_between(float centre, float width, float low, float high) {
  return Stretch{centre, width}.between(low, high).width / width;
}

/// The part of `spot` within `area`. A pattern must not be seen beyond its area: the next line would show
/// as a ghost at the edge.
Spot part_within(const Spot& spot, const Area& area) {
  const Stretch across = Stretch{spot.centre.x, spot.width}.between(area.left, area.right);
  const Stretch down = Stretch{spot.centre.y, spot.height}.between(area.top, area.bottom);
  return {{across.centre, down.centre}, across.width, down.width};
}

/// Share of `spot` that its `part` is.
float share_of(const Spot& part, const Spot& spot) {
  return part.width * part.height / (spot.width * spot.height);
}

float share_within(const Spot& spot, const Area& area) {
  return share_of(part_within(spot, area), spot);
}

/// Side of the square with about the spot's area.
float mean_size(const Spot& spot) {
  return (spot.width + spot.height) / 2;
}

/// Share of a spot of `size` on the inner side of an edge that is `inside` away.
float share_inside(float inside, float size) {
  return std::clamp(0.5F + inside / size, 0.0F, 1.0F);
}

/// Mean over `width` around `phase` of the wave that is 1 in the first half of each period of 1.
float wave(float phase, float width) {
  const auto integral = [](float t) {
    const float whole = std::floor(t);
    return whole * 0.5F + std::min(t - whole, 0.5F);
  };
  // Narrower than this the difference of the integrals is all rounding.
  const float safe_width = std::max(width, 1.0e-3F);
  return std::clamp((integral(phase + safe_width / 2) - integral(phase - safe_width / 2)) / safe_width, 0.0F,
                    1.0F);
}

Area around(const Point& centre, float radius) {
  return {centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius};
}

float distance(const Point& a, const Point& b) {
  const float dx = a.x - b.x;
  const float dy = a.y - b.y;
  return std::sqrt(dx * dx + dy * dy);
}

class Box : public Mark {
 public:
  using Mark::Mark;
  float coverage(const Spot& spot) const override { return share_within(spot, area()); }
};

class Ramp final : public Box {
 public:
  Ramp(const Area& area, const Light& from, const Light& to, int steps)
      : Box(area, from), to_(to), steps_(static_cast<float>(steps)) {}

  Light ink(const Spot& spot) const override {
    const Light from = Mark::ink(spot);
    const float t = progress((spot.centre.x - area().left) / (area().right - area().left));
    const auto between = [t](float a, float b) {
      const float root = std::sqrt(a) + (std::sqrt(b) - std::sqrt(a)) * t;
      return root * root;
    };
    return {between(from.r, to_.r), between(from.g, to_.g), between(from.b, to_.b)};
  }

 private:
  float progress(float position) const {
    const float t = std::clamp(position, 0.0F, 1.0F);
    return steps_ > 1 ? std::min(std::floor(t * steps_), steps_ - 1) / (steps_ - 1) : t;
  }

  Light to_;
  float steps_;
};

/// A convex shape within straight edges.
template <size_t kEdges>
class Polygon final : public Mark {
 public:
  /// Corners clockwise on the chart, where y grows downwards.
  Polygon(const std::array<Point, kEdges>& corners, const Light& ink) : Mark(bounds(corners), ink) {
    for (size_t i = 0; i < kEdges; ++i) {
      const Point& a = corners[i];
      const Point& b = corners[(i + 1) % kEdges];
      const float length = distance(a, b);
      edges_[i] = {a, {-(b.y - a.y) / length, (b.x - a.x) / length}};
    }
  }

  float coverage(const Spot& spot) const override {
    float share = 1;
    for (const auto& [start, inward] : edges_) {
      const float inside = (spot.centre.x - start.x) * inward.x + (spot.centre.y - start.y) * inward.y;
      const float size = std::abs(inward.x) * spot.width + std::abs(inward.y) * spot.height;
      share *= share_inside(inside, size);
    }
    return share;
  }

 private:
  struct StraightEdge {
    Point start;
    Point inward;  ///< of length 1
  };

  static Area bounds(const std::array<Point, kEdges>& corners) {
    const auto [left, right] = std::ranges::minmax(corners, {}, &Point::x);
    const auto [top, bottom] = std::ranges::minmax(corners, {}, &Point::y);
    return {left.x, top.y, right.x, bottom.y};
  }

  std::array<StraightEdge, kEdges> edges_;
};

/// What is printed within a circle.
class Disc : public Mark {
 public:
  Disc(const Point& centre, float radius, const Light& ink)
      : Mark(around(centre, radius), ink), centre_(centre), radius_(radius) {}

  float coverage(const Spot& spot) const override {
    const float r = distance(spot.centre, centre_);
    const float inside = share_inside(radius_ - r, mean_size(spot));
    return inside > 0 ? inside * pattern(spot, r) : 0.0F;
  }

 protected:
  const Point& centre() const { return centre_; }
  float radius() const { return radius_; }

 private:
  /// Inked share at the distance `r` from the centre.
  virtual float pattern(const Spot& /*spot*/, float /*r*/) const { return 1; }

  Point centre_;
  float radius_;
};

class Star final : public Disc {
 public:
  Star(const Point& centre, float radius, int spokes, const Light& ink)
      : Disc(centre, radius, ink), spokes_per_radian_(static_cast<float>(spokes) / (2 * pi_v<float>)) {}

 private:
  float pattern(const Spot& spot, float r) const override {
    const float angle = std::atan2(spot.centre.y - centre().y, spot.centre.x - centre().x);
    const float size = mean_size(spot);
    return wave(angle * spokes_per_radian_ + 0.25F, size / std::max(r, size / 4) * spokes_per_radian_);
  }

  float spokes_per_radian_;
};

class Rings final : public Disc {
 public:
  Rings(const Point& centre, float radius, float period, const Light& ink)
      : Disc(centre, radius, ink), period_(period) {}

 private:
  float pattern(const Spot& spot, float r) const override {
    return wave(r / period_ + 0.25F, mean_size(spot) / period_);
  }

  float period_;
};

class ZonePlate final : public Disc {
 public:
  ZonePlate(const Point& centre, float radius, float finest_period, const Light& ink)
      : Disc(centre, radius, ink), finest_period_(finest_period) {}

 private:
  float pattern(const Spot& spot, float r) const override {
    const float phase = pi_v<float> * r * r / (radius() * finest_period_);
    const float spot_phase = pi_v<float> * mean_size(spot) * r / (radius() * finest_period_);
    const float contrast = spot_phase < 1.0e-3F ? 1.0F : std::sin(spot_phase) / spot_phase;
    return 0.5F + 0.5F * contrast * std::cos(phase);
  }

  float finest_period_;
};

class LineGroup final : public Mark {
 public:
  LineGroup(const Area& area, Lines lines, float period, const Light& ink)
      : Mark(area, ink), lines_(lines), frequency_(1 / period) {}

  float coverage(const Spot& spot) const override {
    const Spot part = part_within(spot, area());
    const float share = share_of(part, spot);
    return share > 0 ? share * pattern(part) : 0.0F;
  }

 private:
  float pattern(const Spot& spot) const {
    const float x = spot.centre.x - area().left;
    const float y = spot.centre.y - area().top;
    switch (lines_) {
      case Lines::kVertical:
        return wave(x * frequency_, spot.width * frequency_);
      case Lines::kHorizontal:
        return wave(y * frequency_, spot.height * frequency_);
      case Lines::kDiagonal:
        break;
    }
    constexpr float kHalfRoot = 1 / std::numbers::sqrt2_v<float>;
    return wave((x + y) * kHalfRoot * frequency_, (spot.width + spot.height) * kHalfRoot * frequency_);
  }

  Lines lines_;
  float frequency_;
};

class LineWedge final : public Mark {
 public:
  LineWedge(const Area& area, Lines lines, int count, float narrow, const Light& ink)
      : Mark(area, ink),
        horizontal_(lines == Lines::kHorizontal),
        periods_(static_cast<float>(count) - 0.5F),
        narrow_(narrow) {}

  float coverage(const Spot& spot) const override {
    const Area& a = area();
    const Point middle = a.centre();
    return horizontal_ ? fan(spot.centre.x, spot.width, a.left, a.right, spot.centre.y - middle.y,
                             spot.height, a.bottom - a.top)
                       : fan(spot.centre.y, spot.height, a.top, a.bottom, spot.centre.x - middle.x,
                             spot.width, a.right - a.left);
  }

 private:
  /// `along` runs from `start` to `end` as the lines do, `across` is counted from the middle line.
  float fan(float along, float along_size, float start, float end, float across, float across_size,
            float breadth) const {
    const float within = share_between(along, along_size, start, end);
    if (within <= 0) return 0;
    const float t = std::clamp((along - start) / (end - start), 0.0F, 1.0F);
    const float here = breadth * (1 + (narrow_ - 1) * t);
    const Stretch part = Stretch{across, across_size}.between(-here / 2, here / 2);
    const float frequency = periods_ / here;
    return within * part.width / across_size *
           wave((part.centre + here / 2) * frequency, part.width * frequency);
  }

  bool horizontal_;
  float periods_;
  float narrow_;
};

class Checkers final : public Mark {
 public:
  Checkers(const Area& area, float cell, const Light& ink) : Mark(area, ink), frequency_(0.5F / cell) {}

  float coverage(const Spot& spot) const override {
    const Spot part = part_within(spot, area());
    const float share = share_of(part, spot);
    if (share <= 0) return 0;
    const float across = wave((part.centre.x - area().left) * frequency_, part.width * frequency_);
    const float down = wave((part.centre.y - area().top) * frequency_, part.height * frequency_);
    return share * (across * down + (1 - across) * (1 - down));
  }

 private:
  float frequency_;
};

class Lettering final : public Mark {
 public:
  Lettering(const Point& top_left, float dot, std::string text, const Light& ink)
      : Mark({top_left.x, top_left.y, top_left.x + dot * static_cast<float>(text.size() * kLetterPitch),
              top_left.y + dot * kLetterHeight},
             ink),
        dot_(dot),
        text_(std::move(text)) {}

  float coverage(const Spot& spot) const override {
    const int columns = static_cast<int>(text_.size()) * kLetterPitch;
    const auto dots = [this](float from_edge, int count) {
      return static_cast<int>(std::clamp(from_edge / dot_, 0.0F, static_cast<float>(count - 1)));
    };
    const float x = spot.centre.x - area().left;
    const float y = spot.centre.y - area().top;
    const int last_column = dots(x + spot.width / 2, columns);
    const int last_row = dots(y + spot.height / 2, kLetterHeight);
    float share = 0;
    for (int row = dots(y - spot.height / 2, kLetterHeight); row <= last_row; ++row) {
      for (int column = dots(x - spot.width / 2, columns); column <= last_column; ++column) {
        if (letter_dot(text_, column, row)) share += share_of_dot(spot, column, row);
      }
    }
    return std::min(share, 1.0F);
  }

 private:
  float share_of_dot(const Spot& spot, int column, int row) const {
    const float left = area().left + static_cast<float>(column) * dot_;
    const float top = area().top + static_cast<float>(row) * dot_;
    return share_within(spot, {left, top, left + dot_, top + dot_});
  }

  float dot_;
  std::string text_;
};

class Ruler final : public Mark {
 public:
  Ruler(const Area& area, Edge edge, float unit, const Light& ink)
      : Mark(area, ink), edge_(edge), pitch_(unit / 10) {}

  float coverage(const Spot& spot) const override {
    const Area& a = area();
    switch (edge_) {
      case Edge::kTop:
        return ticks(spot.centre.x, spot.width, spot.centre.y - a.top, spot.height, a.bottom - a.top);
      case Edge::kBottom:
        return ticks(spot.centre.x, spot.width, a.bottom - spot.centre.y, spot.height, a.bottom - a.top);
      case Edge::kLeft:
        return ticks(spot.centre.y, spot.height, spot.centre.x - a.left, spot.width, a.right - a.left);
      case Edge::kRight:
        break;
    }
    return ticks(spot.centre.y, spot.height, a.right - spot.centre.x, spot.width, a.right - a.left);
  }

 private:
  /// `along` the side, and `depth` from it.
  float ticks(float along, float along_size, float depth, float depth_size, float longest) const {
    constexpr float kThickness = 0.15F;
    const float nearest = std::round(along / pitch_);
    const float length = longest * share_of_longest(static_cast<int>(nearest));
    const float half = kThickness * pitch_ / 2;
    return share_between(along, along_size, nearest * pitch_ - half, nearest * pitch_ + half) *
           share_between(depth, depth_size, 0, length);
  }

  static float share_of_longest(int tick) {
    if (tick % 10 == 0) return 1;
    return tick % 5 == 0 ? 0.7F : 0.45F;
  }

  Edge edge_;
  float pitch_;
};

}  // namespace

MarkPtr box(const Area& area, const Light& ink) {
  return std::make_unique<Box>(area, ink);
}

MarkPtr ramp(const Area& area, const Light& from, const Light& to, int steps) {
  return std::make_unique<Ramp>(area, from, to, steps);
}

MarkPtr tilted_square(const Point& centre, float side, float slope, const Light& ink) {
  const float along = side / 2 / std::sqrt(1 + slope * slope);
  const float aside = along * slope;
  const std::array<Point, 4> corners{{{centre.x - along + aside, centre.y - along - aside},
                                      {centre.x + along + aside, centre.y - along + aside},
                                      {centre.x + along - aside, centre.y + along + aside},
                                      {centre.x - along - aside, centre.y + along - aside}}};
  return std::make_unique<Polygon<4>>(corners, ink);
}

MarkPtr triangle(const std::array<Point, 3>& corners, const Light& ink) {
  return std::make_unique<Polygon<3>>(corners, ink);
}

MarkPtr disc(const Point& centre, float radius, const Light& ink) {
  return std::make_unique<Disc>(centre, radius, ink);
}

MarkPtr star(const Point& centre, float radius, int spokes, const Light& ink) {
  return std::make_unique<Star>(centre, radius, spokes, ink);
}

MarkPtr rings(const Point& centre, float radius, float period, const Light& ink) {
  return std::make_unique<Rings>(centre, radius, period, ink);
}

MarkPtr zone_plate(const Point& centre, float radius, float finest_period, const Light& ink) {
  return std::make_unique<ZonePlate>(centre, radius, finest_period, ink);
}

MarkPtr line_group(const Area& area, Lines lines, float period, const Light& ink) {
  return std::make_unique<LineGroup>(area, lines, period, ink);
}

MarkPtr line_wedge(const Area& area, Lines lines, int count, float narrow, const Light& ink) {
  return std::make_unique<LineWedge>(area, lines, count, narrow, ink);
}

MarkPtr checkers(const Area& area, float cell, const Light& ink) {
  return std::make_unique<Checkers>(area, cell, ink);
}

MarkPtr lettering(const Point& top_left, float dot, std::string text, const Light& ink) {
  return std::make_unique<Lettering>(top_left, dot, std::move(text), ink);
}

MarkPtr ruler(const Area& area, Edge edge, float unit, const Light& ink) {
  return std::make_unique<Ruler>(area, edge, unit, ink);
}

}  // namespace kxsim
