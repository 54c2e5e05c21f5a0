// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <cstdlib>

#include "core/picture/white_balance_settings.h"
#include "isp/bayer_cell.h"
#include "isp/product_tables.h"
#include "isp/white_balance.h"

namespace kxcam {
namespace {

constexpr int kLeastCells = 32;

struct Rgb {
  int r;
  int g;
  int b;
};

struct PointSums {
  int64_t red = 0;
  int64_t green = 0;
  int64_t blue = 0;
  int64_t cells = 0;

  void add(const Rgb& point) {
    red += point.r;
    green += point.g;
    blue += point.b;
    ++cells;
  }
  bool sufficient() const { return red != 0 && green != 0 && blue != 0 && cells >= kLeastCells; }
};

/// Grey with a tint of green, which an unbalanced sensor makes of grey, and neither dark nor saturated.
bool is_nearly_grey(const Rgb& point, int mean_level) {
  const auto& [r, g, b] = point;
  const int luma = M_587[g] + M_299[r] + M_114[b];
  const int blue_difference = (b >> 1) - M_169[r] - M_331[g];
  const int red_difference = (r >> 1) - M_419[g] - M_081[b];
  const int chroma = std::abs(blue_difference) + std::abs(red_difference);
  return chroma > static_cast<int>(0.1 * luma) && chroma < static_cast<int>(0.43 * luma) &&
         std::abs(blue_difference) <= 14 && std::abs(red_difference) <= 14 && luma < 220 &&
         luma > mean_level + 30 && g - r >= 16 && g - b >= 16;
}

/// The two outermost rows and columns, and up to two more at the far ends, are not visited.
PointSums measure_points(const ImageView& raw, BayerPhase phase, int mean_level) {
  PointSums sums;
  if (raw.width() < 5 || raw.height() < 5) return sums;
  const bool lower_green = phase.red_x == kPhaseBGGR.red_x && phase.red_y == kPhaseBGGR.red_y;
  const int32_t y_end = ((raw.height() - 5) | 1) + 3;
  const int32_t x_last = 2 + 2 * ((raw.width() - 5) >> 1);
  for (int32_t y = 2; y < y_end; y += 2) {
    for (int32_t x = 2; x <= x_last; x += 2) {
      const BayerCell cell(raw, phase, x, y);
      const Rgb point = {cell.red, lower_green ? cell.lower_green : cell.upper_green, cell.blue};
      if (is_nearly_grey(point, mean_level)) sums.add(point);
    }
  }
  return sums;
}

double ratio(int64_t green, int64_t other) {
  return static_cast<double>(green) / static_cast<double>(other);
}

}  // namespace

void PointWhiteBalance(CameraContext& ctx, const ImageView& raw) {
  const auto phase = bayer_phase(ctx.model().COLOR_MODE);
  if (!phase) return;
  const PointSums sums = measure_points(raw, *phase, ctx.picture.mean_level);
  if (!sums.sufficient()) return;
  store_wb_gains(ctx, limited({.r = two_decimals(ratio(sums.green, sums.red)),
                               .g = 1.0,
                               .b = two_decimals(ratio(sums.green, sums.blue))}));
}

}  // namespace kxcam
