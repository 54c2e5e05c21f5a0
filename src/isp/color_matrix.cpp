// SPDX-License-Identifier: Apache-2.0
#include "isp/color_matrix.h"

#include <cstddef>

#include "isp/saturating_cast.h"

namespace kxcam {
namespace {

using Matrix = std::array<double, 9>;  // row-major

Matrix saturation_matrix(double s) {
  constexpr double kRedWeight = 0.213;
  constexpr double kGreenWeight = 0.712;
  constexpr double kBlueWeight = 0.075;
  const double r = kRedWeight * (1.0 - s);
  const double g = kGreenWeight * (1.0 - s);
  const double b = kBlueWeight * (1.0 - s);
  return {s + r, g, b, r, s + g, b, r, g, s + b};
}

}  // namespace

void init_saturation_matrix(MatrixTable& table, double s, const std::array<double, 9>& ccm) {
  const Matrix saturation = saturation_matrix(s);
  for (size_t row = 0; row < 3; ++row) {
    for (size_t column = 0; column < 3; ++column) {
      double element = 0.0;
      for (size_t k = 0; k < 3; ++k) element += ccm[3 * row + k] * saturation[3 * k + column];
      auto& products = table[3 * row + column];
      for (size_t v = 0; v < products.size(); ++v) {
        products[v] = saturating_cast<int32_t>(static_cast<double>(v) * element);
      }
    }
  }
}

}  // namespace kxcam
