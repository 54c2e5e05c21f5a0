// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "scene/chart_marks.h"

namespace kxsim {

/// A mark and where its own coordinates lie on the chart: at `origin`, `scale` times as large.
struct PlacedMark {
  MarkPtr mark;
  Point origin;
  float scale = 1;
};

/// What the bare chart reflects.
inline constexpr Light kBackground{0.48F, 0.48F, 0.48F};

/// The chart's marks in the order they are printed, for a chart `width` wide (its height is 1000).
std::vector<PlacedMark> lay_out_chart(float width);

}  // namespace kxsim
