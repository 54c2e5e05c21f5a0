// SPDX-License-Identifier: Apache-2.0
#include "isp/white_balance.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "isp/saturating_cast.h"

namespace kxcam {
namespace {

/// Products of every byte value with one coefficient of the conversion from RGB to luma and colour
/// differences.
using ProductTable = std::array<int32_t, 256>;

/// Entry i is trunc(i x coefficient), but entry 255 is 0: a saturated component counts as black in
/// the white balance.
constexpr ProductTable product_table(double coefficient) {
  ProductTable table{};
  for (int i = 0; i < 255; ++i) table[i] = static_cast<int32_t>(i * coefficient);
  return table;
}

constexpr ProductTable M_299 = product_table(0.299);
constexpr ProductTable M_587 = product_table(0.587);
constexpr ProductTable M_114 = product_table(0.114);
constexpr ProductTable M_169 = product_table(0.169);
constexpr ProductTable M_331 = product_table(0.331);
constexpr ProductTable M_419 = product_table(0.419);
constexpr ProductTable M_081 = product_table(0.081);

/// The samples of a 2 x 2 cell whose first pixel is at an even column and row.
struct BayerCell {
  BayerCell(const ImageView& raw, BayerPhase phase, int x, int y)
      : red(raw.at(x + phase.red_x, y + phase.red_y)),
        blue(raw.at(x + 1 - phase.red_x, y + 1 - phase.red_y)),
        upper_green(raw.at(x + phase.green_x(0), y)),
        lower_green(raw.at(x + phase.green_x(1), y + 1)) {}

  int red;
  int blue;
  int upper_green;
  int lower_green;
};

/// A measured ratio cut to two decimals.
double ratio(double green, double other) {
  return saturating_cast<int32_t>(green / other * 100) / 100.0;
}

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

}  // namespace

std::optional<WhiteBalanceGains> gains_of_middle(const ImageView& raw, BayerPhase phase) {
  const GreyWorld sums = measure_middle(raw, phase);
  if (sums.red == 0 || sums.green == 0 || sums.blue == 0) return std::nullopt;
  const double green = static_cast<double>(sums.green) / 2;
  return WhiteBalanceGains{.r = ratio(green, static_cast<double>(sums.red)),
                           .g = 1.0,
                           .b = ratio(green, static_cast<double>(sums.blue))};
}

std::optional<WhiteBalanceGains> gains_of_grey_points(const ImageView& raw, BayerPhase phase,
                                                      int mean_level) {
  constexpr double kLimit = 3.0;
  const PointSums sums = measure_points(raw, phase, mean_level);
  if (!sums.sufficient()) return std::nullopt;
  const auto green = static_cast<double>(sums.green);
  WhiteBalanceGains gains = {.r = ratio(green, static_cast<double>(sums.red)),
                             .g = 1.0,
                             .b = ratio(green, static_cast<double>(sums.blue))};
  if (gains.r > kLimit || gains.b > kLimit) gains.r = kLimit;
  return gains;
}

}  // namespace kxcam
