// SPDX-License-Identifier: Apache-2.0
#include "isp/color_tables.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <numeric>

#include "isp/saturating_cast.h"

namespace kxcam {

namespace {

Curve composed(const Curve& outer, const Curve& inner, const Curve& first) {
  Curve result;
  for (size_t i = 0; i < result.size(); ++i) result[i] = outer[inner[first[i]]];
  return result;
}

}  // namespace

Curve identity_curve() {
  Curve curve;
  std::iota(curve.begin(), curve.end(), uint8_t{0});
  return curve;
}

Curve build_gamma_curve(double gamma) {
  const double exponent = 1.0 / gamma;
  Curve curve;
  for (size_t i = 0; i < curve.size(); ++i) {
    const double x = (static_cast<double>(i) + 0.5) / 256.0;
    curve[i] = saturating_cast<uint8_t>(std::pow(x, exponent) * 256.0 - 0.499);
  }
  curve[0] = 0;
  curve[255] = 255;

  constexpr size_t kToeEnd = 10;
  const double slope = curve[kToeEnd] * 0.1;
  for (size_t i = 1; i < kToeEnd; ++i) curve[i] = saturating_cast<uint8_t>(slope * static_cast<double>(i));
  return curve;
}

Curve build_contrast_curve(double contrast, int black_level) {
  const int black = black_level < 255 ? black_level : 0;
  const int half_range = (255 - black) >> 1;
  const int pivot = black + half_range;
  const double stretch = 256.0 / (256 - black);
  Curve curve;
  for (int i = 0; i < 256; ++i) {
    curve[i] = saturating_cast<uint8_t>(((i - pivot) * contrast + half_range) * stretch);
  }
  curve[255] = 255;
  return curve;
}

Curve build_wb_curve(double gain) {
  Curve curve;
  for (size_t i = 0; i < curve.size(); ++i)
    curve[i] = saturating_cast<uint8_t>(static_cast<double>(i) * gain);
  return curve;
}

int init_curve_table(Curve& out_r, Curve& out_g, Curve& out_b, const Curve& in_r, const Curve& in_g,
                     const Curve& in_b, Curve& out_mono, const Curve& outer, const Curve& inner) {
  out_r = composed(outer, inner, in_r);
  out_g = composed(outer, inner, in_g);
  out_b = composed(outer, inner, in_b);
  out_mono = composed(outer, inner, identity_curve());
  out_mono[255] = 255;
  return 256;
}

void compose(ToneCurves& curves) {
  init_curve_table(curves.final_curve_r, curves.final_curve_g, curves.final_curve_b, curves.wb_curve_r,
                   curves.wb_curve_g, curves.wb_curve_b, curves.mono_curve, curves.gamma_curve,
                   curves.contrast_curve);
}

// Four samples to a load make this as fast as the gather instructions, which look up one after the other
// inside.
void reduce_to_8_bits(const uint8_t* in, size_t samples, const UserLut& lut, uint8_t* out) {
  constexpr unsigned kSampleBits = 0x0FFF;
  size_t i = 0;
  for (; i + 4 <= samples; i += 4) {
    uint64_t four = 0;
    std::memcpy(&four, in + 2 * i, sizeof four);
    out[i] = lut[four & kSampleBits];
    out[i + 1] = lut[four >> 16 & kSampleBits];
    out[i + 2] = lut[four >> 32 & kSampleBits];
    out[i + 3] = lut[four >> 48 & kSampleBits];
  }
  for (; i < samples; ++i) out[i] = lut[(in[2 * i] | in[2 * i + 1] << 8) & kSampleBits];
}

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
