// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <vector>

#include "scene/chart_layout.h"
#include "scene/scene.h"

namespace kxsim {
namespace {

constexpr float kHeight = 1000;

/// Which marks may be seen from which part of the chart: a chart has hundreds, a spot sees three.
class MarkIndex {
 public:
  MarkIndex(float width, const std::vector<PlacedMark>& marks)
      : columns_(static_cast<int>(width / kTile) + 1), rows_(static_cast<int>(kHeight / kTile) + 1) {
    tiles_.resize(static_cast<size_t>(columns_) * rows_);
    for (const PlacedMark& placed : marks) enter(placed);
  }

  /// The largest spot that the index is good for.
  static constexpr float kLargestSpot = 8;

  /// In the order they are printed.
  const std::vector<const PlacedMark*>& marks_near(const Point& point) const {
    return tiles_[static_cast<size_t>(tile(point.y, rows_)) * columns_ + tile(point.x, columns_)];
  }

 private:
  static constexpr float kTile = 20;

  static int tile(float position, int count) {
    return static_cast<int>(std::clamp(position / kTile, 0.0F, static_cast<float>(count - 1)));
  }

  void enter(const PlacedMark& placed) {
    const Area& area = placed.mark->area();
    constexpr float kReach = kLargestSpot;
    const int first_x = tile(placed.origin.x + area.left * placed.scale - kReach, columns_);
    const int last_x = tile(placed.origin.x + area.right * placed.scale + kReach, columns_);
    const int first_y = tile(placed.origin.y + area.top * placed.scale - kReach, rows_);
    const int last_y = tile(placed.origin.y + area.bottom * placed.scale + kReach, rows_);
    for (int y = first_y; y <= last_y; ++y) {
      for (int x = first_x; x <= last_x; ++x) {
        tiles_[static_cast<size_t>(y) * columns_ + x].push_back(&placed);
      }
    }
  }

  int columns_;
  int rows_;
  std::vector<std::vector<const PlacedMark*>> tiles_;
};

Light blend(const Light& under, const Light& over, float share) {
  const auto mix = [share](float a, float b) { return a + (b - a) * share; };
  return {mix(under.r, over.r), mix(under.g, over.g), mix(under.b, over.b)};
}

class Chart final : public Scene {
 public:
  Chart(float width, const Light& lamp)
      : width_(width), lamp_(lamp), marks_(lay_out_chart(width)), index_(width, marks_) {}

  Light at(float u, float v, float size_u, float size_v) const override {
    const Spot spot{{u * width_, v * kHeight},
                    std::max(size_u * width_ * kLensBlur, kSmallest),
                    std::max(size_v * kHeight * kLensBlur, kSmallest)};
    Light light = kBackground;
    if (std::max(spot.width, spot.height) <= MarkIndex::kLargestSpot) {
      for (const PlacedMark* placed : index_.marks_near(spot.centre)) light = print(*placed, spot, light);
    } else {
      for (const PlacedMark& placed : marks_) light = print(placed, spot, light);
    }
    const float brightness = vignette(spot.centre);
    return {light.r * lamp_.r * brightness, light.g * lamp_.g * brightness, light.b * lamp_.b * brightness};
  }

 private:
  static constexpr float kSmallest = 1.0e-3F;
  /// A lens as sharp as the pixels would paint every thin line in false colours.
  static constexpr float kLensBlur = 1.5F;

  static Light print(const PlacedMark& placed, const Spot& spot, const Light& under) {
    const float shrink = 1 / placed.scale;
    const Spot own{{(spot.centre.x - placed.origin.x) * shrink, (spot.centre.y - placed.origin.y) * shrink},
                   spot.width * shrink,
                   spot.height * shrink};
    const float share = placed.mark->coverage(own);
    return share > 0 ? blend(under, placed.mark->ink(own), share) : under;
  }

  /// A lens gives a little less light away from its axis.
  float vignette(const Point& point) const {
    constexpr float kCornerLoss = 0.14F;
    const float x = point.x - width_ / 2;
    const float y = point.y - kHeight / 2;
    return 1 - kCornerLoss * 4 * (x * x + y * y) / (width_ * width_ + kHeight * kHeight);
  }

  float width_;
  Light lamp_;
  std::vector<PlacedMark> marks_;
  MarkIndex index_;
};

}  // namespace

std::shared_ptr<const Scene> make_chart(double aspect, Light lamp) {
  // Wider or narrower than any sensor: a chart's index stays small.
  const double bounded = aspect > 0.1 ? std::min(aspect, 10.0) : 0.1;
  return std::make_shared<Chart>(static_cast<float>(bounded) * kHeight, lamp);
}

}  // namespace kxsim
