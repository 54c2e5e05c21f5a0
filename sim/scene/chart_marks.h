// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <memory>
#include <string>

#include "scene/scene.h"

namespace kxsim {

/// Positions and lengths on the chart are in thousandths of its height.
struct Point {
  float x = 0;
  float y = 0;
};

struct Area {
  float left = 0;
  float top = 0;
  float right = 0;
  float bottom = 0;

  Point centre() const { return {(left + right) / 2, (top + bottom) / 2}; }
};

/// The rectangle that is averaged over.
struct Spot {
  Point centre;
  float width = 0;
  float height = 0;
};

/// Something printed on the chart in one ink.
class Mark {
 public:
  Mark(const Area& area, const Light& ink) : area_(area), ink_(ink) {}
  virtual ~Mark() = default;
  Mark(const Mark&) = delete;
  Mark& operator=(const Mark&) = delete;

  /// Nothing is printed outside of it.
  const Area& area() const { return area_; }

  /// The inked share 0..1 of `spot`.
  virtual float coverage(const Spot& spot) const = 0;

  virtual Light ink(const Spot& /*spot*/) const { return ink_; }

 private:
  Area area_;
  Light ink_;
};

using MarkPtr = std::unique_ptr<const Mark>;

MarkPtr box(const Area& area, const Light& ink);

/// A box whose ink goes from `from` at the left to `to` at the right, evenly to the eye: smoothly, or in
/// `steps` of equal width (2 or more).
MarkPtr ramp(const Area& area, const Light& from, const Light& to, int steps = 0);

/// A square turned clockwise by the angle whose tangent is `slope`.
MarkPtr tilted_square(const Point& centre, float side, float slope, const Light& ink);

/// Corners clockwise.
MarkPtr triangle(const std::array<Point, 3>& corners, const Light& ink);

MarkPtr disc(const Point& centre, float radius, const Light& ink);

/// `spokes` inked sectors with equal gaps.
MarkPtr star(const Point& centre, float radius, int spokes, const Light& ink);

/// Rings as wide as their gaps, `period` from one to the next.
MarkPtr rings(const Point& centre, float radius, float period, const Light& ink);

/// Rings that get finer towards the rim, where one follows the next after `finest_period`.
MarkPtr zone_plate(const Point& centre, float radius, float finest_period, const Light& ink);

enum class Lines { kVertical, kHorizontal, kDiagonal };

/// Lines as wide as their gaps. Vertical and horizontal ones begin with ink at the left and the top.
MarkPtr line_group(const Area& area, Lines lines, float period, const Light& ink);

/// `count` lines that run together: to the right when horizontal, downwards when vertical. At the narrow
/// end they are `narrow` times as wide as at the other.
MarkPtr line_wedge(const Area& area, Lines lines, int count, float narrow, const Light& ink);

MarkPtr checkers(const Area& area, float cell, const Light& ink);

/// `dot` is the size of one of the dots that letters are made of.
MarkPtr lettering(const Point& top_left, float dot, std::string text, const Light& ink);

enum class Edge { kTop, kBottom, kLeft, kRight };

/// Ticks along the side `edge` of `area`, ten to a `unit`; each fifth and each tenth is longer, and the
/// tenth is as long as the area is deep. They are counted from the left or the top of the chart.
MarkPtr ruler(const Area& area, Edge edge, float unit, const Light& ink);

}  // namespace kxsim
