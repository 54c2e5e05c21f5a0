// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "isp/color_tables.h"
#include "isp/packed_formats.h"

namespace kxcam::test {
namespace {

constexpr std::array<double, 9> kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

TEST(Curves, AreIdentitiesWhereNothingIsSet) {
  EXPECT_EQ(build_gamma_curve(1.0), identity_curve());
  EXPECT_EQ(build_contrast_curve(1.0, 0), identity_curve());
  EXPECT_EQ(build_contrast_curve(1.4, 255), build_contrast_curve(1.4, 0));
}

TEST(Curves, HaveTheirGoldenValues) {
  const Curve bright = build_gamma_curve(2.0);
  const Curve dark = build_gamma_curve(0.5);
  const Curve steep = build_contrast_curve(2.0, 0);
  const Curve flat = build_contrast_curve(0.5, 0);
  const struct {
    const Curve& curve;
    size_t at;
    int level;
  } rows[] = {{bright, 64, 128},  // 256 sqrt(64.5 / 256) - 0.499 = 128.001
              {bright, 10, 51},   // 51.845 - 0.499
              {bright, 5, 25},    // 5 x 5.1: the toe is straight
              {bright, 9, 45},   {bright, 200, 226}, {dark, 128, 64},  {dark, 10, 0},   {dark, 9, 0},
              {dark, 200, 156},  {steep, 127, 127},  {steep, 64, 1},   {steep, 63, 0},  {steep, 191, 255},
              {steep, 190, 253}, {flat, 0, 63},      {flat, 254, 190}, {flat, 255, 255}};
  for (const auto& row : rows) EXPECT_EQ(row.curve[row.at], row.level) << row.at;
  for (const double gamma : {0.3, 0.5, 1.7, 2.0}) {
    const Curve curve = build_gamma_curve(gamma);
    EXPECT_EQ(curve[0], 0);
    EXPECT_EQ(curve[255], 255);
    EXPECT_TRUE(std::ranges::is_sorted(curve)) << gamma;
  }
}

TEST(Curves, StretchAboveTheBlackLevel) {
  const Curve black = build_contrast_curve(1.0, 100);
  for (int i = 0; i < 255; ++i) {
    // An integer form of the stretch; 156 divides no product near a whole number but exactly.
    EXPECT_EQ(black[i], i <= 100 ? 0 : (i - 100) * 256 / 156) << i;
  }
  EXPECT_EQ(black[255], 255);
}

TEST(Composition, AppliesWhiteBalanceThenContrastThenGamma) {
  ToneCurves curves;
  for (size_t i = 0; i < 256; ++i) {
    curves.wb_curve_r[i] = static_cast<uint8_t>(i / 2);
    curves.wb_curve_b[i] = static_cast<uint8_t>(255 - i);
    curves.contrast_curve[i] = static_cast<uint8_t>(i * 3 + 1);
    curves.gamma_curve[i] = static_cast<uint8_t>(i ^ 0x0F);
  }
  compose(curves);
  EXPECT_EQ(curves.final_curve_r[100], (50 * 3 + 1) ^ 0x0F);
  EXPECT_EQ(curves.final_curve_g[60], (60 * 3 + 1) ^ 0x0F);
  EXPECT_EQ(curves.final_curve_b[250], (5 * 3 + 1) ^ 0x0F);
  EXPECT_EQ(curves.mono_curve[60], (60 * 3 + 1) ^ 0x0F);
  EXPECT_EQ(curves.mono_curve[255], 255);
  EXPECT_EQ(curves.final_curve_g[255], static_cast<uint8_t>(255 * 3 + 1) ^ 0x0F);
}

TEST(SaturationMatrix, IsAnIdentityForOneAndLumaForZero) {
  MatrixTable table;
  init_saturation_matrix(table, 1.0, kIdentity);
  for (int n = 0; n < 9; ++n) {
    for (int v = 0; v < 256; ++v) EXPECT_EQ(table[n][v], n % 4 == 0 ? v : 0);
  }
  init_saturation_matrix(table, 0.0, kIdentity);
  for (int n = 0; n < 9; ++n) {
    const int per_mille = std::array{213, 712, 75}[n % 3];
    for (const int v : {0, 1, 7, 128, 254, 255}) EXPECT_EQ(table[n][v], v * per_mille / 1000);
  }
}

TEST(SaturationMatrix, PutsTheColourMatrixOnTheLeft) {
  MatrixTable table;
  init_saturation_matrix(table, 0.5, {0, 0, 2, 0, 0, 0, 0, -1, 0});
  // Rows of S for 0.5: (.6065 .356 .0375), (.1065 .856 .0375), (.1065 .356 .5375).
  EXPECT_EQ(table[0][200], 42);   // 2 x 0.1065 x 200 = 42.6
  EXPECT_EQ(table[1][200], 142);  // 2 x 0.356 x 200 = 142.4
  EXPECT_EQ(table[2][200], 215);  // 2 x 0.5375 x 200 = 215.0
  EXPECT_EQ(table[3][200], 0);
  EXPECT_EQ(table[6][200], -21);   // towards zero: -21.3
  EXPECT_EQ(table[7][200], -171);  // -171.2
  EXPECT_EQ(table[8][200], -7);    // -7.5
}

TEST(SaturationMatrix, SaturatesWhatAnIntCannotHold) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  MatrixTable table;
  init_saturation_matrix(table, 1.0, {1e9, 0, 0, 0, -1e300, 0, 0, 0, std::nan("")});
  EXPECT_EQ(table[0][2], 2'000'000'000);
  EXPECT_EQ(table[0][3], std::numeric_limits<int32_t>::max());
  EXPECT_EQ(table[4][1], std::numeric_limits<int32_t>::min());
  EXPECT_EQ(table[4][0], 0);
  EXPECT_EQ(table[8][255], 0);
  init_saturation_matrix(table, 1.0, {kInfinity, 0, 0, 0, 1, 0, 0, 0, 1});
  EXPECT_EQ(table[0][0], 0);
  EXPECT_EQ(table[0][1], std::numeric_limits<int32_t>::max());
}

using PackedBytes = std::vector<uint8_t>;

TEST(PackedFormats, WidenComponentsAndStopAtWholePixels) {
  const struct {
    void (*convert)(std::span<const uint8_t>, std::span<uint8_t>);
    PackedBytes in;
    PackedBytes out;  // 0xA5 where nothing is written
  } rows[] = {
      {RGB565toRGB888, {0xFF, 0xFF, 0b10101'011, 0b011'11011}, {0xF8, 0xFC, 0xF8, 0xA8, 0x6C, 0xD8}},
      {RGB555toRGB888, {0xFF, 0xFF, 0b0'10101'10, 0b011'11011}, {0xF8, 0xF8, 0xF8, 0xA8, 0x98, 0xD8}},
      {RGBx444toRGB888, {0xAB, 0xCD}, {0xB0, 0xC0, 0xD0}},
      {RGB444xtoRGB888, {0xAB, 0xCD, 0xEF}, {0xA0, 0xB0, 0x00, 0xA5, 0xA5, 0xA5}},
      {RGB565toRGB888, {0, 0, 0, 0}, {0, 0, 0, 0xA5, 0xA5}},
      {UYVYtoRGB888, {128, 16, 128, 235}, {0, 0, 0, 219, 219, 219}},
      // v = 100: R = 100 + 137.07, G = 100 - 69.8; u = -50: G + 16.88, B = 100 - 86.6.
      {UYVYtoRGB888, {78, 116, 228, 255}, {237, 47, 13, 255, 186, 152}},
      {UYVYtoRGB888, {255, 0, 0, 0}, {0, 30, 204, 0, 30, 204}},
      {UYVYtoRGB888, {128, 16, 128, 16}, PackedBytes(5, 0xA5)},
  };
  for (const auto& row : rows) {
    PackedBytes out(row.out.size(), 0xA5);
    row.convert(row.in, out);
    EXPECT_EQ(out, row.out);
  }
}

}  // namespace
}  // namespace kxcam::test
