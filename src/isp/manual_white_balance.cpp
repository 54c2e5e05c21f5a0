// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdint>

#include "core/picture/white_balance_settings.h"
#include "isp/bayer_cell.h"
#include "isp/white_balance.h"

namespace kxcam {
namespace {

struct GreyWorld {
  int64_t red = 0;
  int64_t green = 0;  // of twice as many sites
  int64_t blue = 0;

  void add(const BayerCell& cell) {
    red += cell.red;
    green += cell.upper_green + cell.lower_green;
    blue += cell.blue;
  }
};

/// Where the middle third of an extent begins; it is as long as it is far from the edge.
int32_t middle_third(int32_t size) {
  const int32_t third = size / 3;
  return third + (third & 1);
}

/// Whole cells only: of an extent of 3 the middle would reach outside.
GreyWorld measure_middle(const ImageView& raw, BayerPhase phase) {
  const int32_t x0 = middle_third(raw.width());
  const int32_t y0 = middle_third(raw.height());
  const int32_t x_end = std::min(2 * x0, raw.width() - 1);
  const int32_t y_end = std::min(2 * y0, raw.height() - 1);
  GreyWorld sums;
  for (int32_t y = y0; y < y_end; y += 2) {
    for (int32_t x = x0; x < x_end; x += 2) sums.add(BayerCell(raw, phase, x, y));
  }
  return sums;
}

}  // namespace

void ManualWhiteBalance(CameraContext& ctx, const ImageView& raw) {
  const auto phase = bayer_phase(ctx.model().COLOR_MODE);
  if (!phase) return;
  const GreyWorld sums = measure_middle(raw, *phase);
  if (sums.red == 0 || sums.green == 0 || sums.blue == 0) return;
  const double green = static_cast<double>(sums.green) / 2;
  store_wb_gains(ctx, {.r = two_decimals(green / static_cast<double>(sums.red)),
                       .g = 1.0,
                       .b = two_decimals(green / static_cast<double>(sums.blue))});
}

}  // namespace kxcam
