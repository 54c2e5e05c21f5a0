// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "frame_fixture.h"
#include "isp/plain_picture.h"
#include "kxcam/kxcam.h"
#include "naive_pixel.h"

namespace kxcam::test {
namespace {

using Converter = int32_t (*)(const FrameSettings&, const ImageView&, uint8_t*, int);

struct Order {
  std::string_view cell;
  Converter to_color;
  Converter to_grey;
};

constexpr Order kOrders[] = {
    {"BGGR", BGGRtoRGB888, BGGRtoGray8},
    {"GBRG", GBRGtoRGB888, GBRGtoGray8},
    {"GRBG", GRBGtoRGB888, GRBGtoGray8},
    {"RGGB", RGGBtoRGB888, RGGBtoGray8},
};
constexpr Order kMono = {"MMMM", RAW8toRGB888, RAW8toGray8};

constexpr int kColorFormats[] = {
    KXCAM_FORMAT_COLOR,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT,
};

Mosaic mosaic_of(std::string_view cell, int width, int height) {
  return {cell, width, height, noise(width * height, width * 1000 + height)};
}

ImageView view_of(const Mosaic& mosaic) {
  return {mosaic.samples, mosaic.width, mosaic.height};
}

int mixed(const MatrixTable& table, size_t row, const std::array<int, 3>& rgb) {
  int64_t sum = 0;
  for (size_t k = 0; k < 3; ++k) sum += table[3 * row + k][static_cast<size_t>(rgb[k])];
  return static_cast<int>(std::clamp<int64_t>(sum, 0, 255));
}

/// Red, green and blue of a pixel after the curves.
std::array<int, 3> naive_toned(const FrameSettings& settings, const Mosaic& mosaic, int x, int y) {
  return {settings.curves->final_curve_r[naive_color(mosaic, x, y, 'R')],
          settings.curves->final_curve_g[naive_color(mosaic, x, y, 'G')],
          settings.curves->final_curve_b[naive_color(mosaic, x, y, 'B')]};
}

std::array<int, 3> naive_rgb(const FrameSettings& settings, const Mosaic& mosaic, int x, int y) {
  if (mosaic.cell == kMono.cell) {
    const int level = settings.curves->mono_curve[naive_smoothed(mosaic, x, y)];
    return {level, level, level};
  }
  const auto toned = naive_toned(settings, mosaic, x, y);
  if (!settings.apply_matrix) return toned;
  const MatrixTable& table = settings.matrix->color_matrix_table;
  return {mixed(table, 0, toned), mixed(table, 1, toned), mixed(table, 2, toned)};
}

int naive_grey(const FrameSettings& settings, const Mosaic& mosaic, int x, int y) {
  if (mosaic.cell == kMono.cell) return settings.curves->mono_curve[mosaic.at(x, y)];
  return mixed(settings.matrix->grey_matrix_table, 1, naive_toned(settings, mosaic, x, y));
}

int32_t naive_mean(const Mosaic& mosaic) {
  const bool mono = mosaic.cell == kMono.cell;
  int64_t sum = 0;
  for (int y = 0; y < mosaic.height; ++y) {
    for (int x = 0; x < mosaic.width; ++x) {
      if (mono || mosaic.letter(x, y) == 'G') sum += mosaic.at(x, y) * (mono ? 1 : 2);
    }
  }
  return static_cast<int32_t>(sum / mosaic.height / mosaic.width);
}

/// Calls `pixel(x, y)` for every raw pixel.
template <class Pixel>
void for_each_pixel(const Mosaic& mosaic, Pixel pixel) {
  for (int i = 0; i < mosaic.width * mosaic.height; ++i) pixel(i % mosaic.width, i / mosaic.width);
}

/// `place(x, y)` is the output pixel number of a raw pixel.
template <class Place>
void check_color(const FrameSettings& settings, const Mosaic& mosaic, Converter convert, int format,
                 Place place) {
  const size_t bytes = (format & KXCAM_FORMAT_32BIT) != 0 ? 4 : 3;
  const bool bgr = (format & KXCAM_FORMAT_BGR) != 0;
  std::vector<uint8_t> expected(mosaic.samples.size() * bytes, kGuard);
  for_each_pixel(mosaic, [&](int x, int y) {
    auto rgb = naive_rgb(settings, mosaic, x, y);
    if (bgr) std::swap(rgb[0], rgb[2]);
    std::ranges::copy(rgb, expected.begin() + static_cast<ptrdiff_t>(place(x, y) * bytes));
  });
  GuardedOutput out(expected.size());
  EXPECT_EQ(convert(settings, view_of(mosaic), out.data(), format), naive_mean(mosaic));
  EXPECT_EQ(out.picture(), expected);
  EXPECT_TRUE(out.guards_intact());
}

template <class Place>
void check_grey(const FrameSettings& settings, const Mosaic& mosaic, Converter convert, Place place) {
  std::vector<uint8_t> expected(mosaic.samples.size(), kGuard);
  for_each_pixel(mosaic, [&](int x, int y) {
    expected.at(place(x, y)) = static_cast<uint8_t>(naive_grey(settings, mosaic, x, y));
  });
  GuardedOutput out(expected.size());
  // The format bits of colour pictures mean nothing here.
  const int format = KXCAM_FORMAT_GREY | KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT;
  EXPECT_EQ(convert(settings, view_of(mosaic), out.data(), format), naive_mean(mosaic));
  EXPECT_EQ(out.picture(), expected);
  EXPECT_TRUE(out.guards_intact());
}

class EveryOrder : public testing::TestWithParam<Order> {};

INSTANTIATE_TEST_SUITE_P(Demosaic, EveryOrder, testing::ValuesIn(kOrders),
                         [](const auto& test) { return std::string(test.param.cell); });
INSTANTIATE_TEST_SUITE_P(Mono, EveryOrder, testing::Values(kMono), [](const auto&) { return "RAW8"; });

TEST_P(EveryOrder, ConvertsEverySizeInEveryFormatAndOrientation) {
  const Order& order = GetParam();
  std::vector<std::pair<int, int>> sizes = {{38, 21}, {9, 16}};
  for (int i = 0; i < 49; ++i) sizes.emplace_back(1 + i % 7, 1 + i / 7);
  for (const auto& [width, height] : sizes) {
    const Mosaic mosaic = mosaic_of(order.cell, width, height);
    for (int flags = 0; flags < 16; ++flags) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", flags " << flags);
      const bool mirror_x = (flags & 1) != 0;
      const bool mirror_y = (flags & 2) != 0;
      const bool rotate = (flags & 4) != 0;
      const auto settings = distinct_settings(IndexMap(width, height, mirror_x, mirror_y, rotate), flags < 8);
      const auto place = [&, w = width, h = height](int x, int y) {
        return naive_place(w, h, x, y, mirror_x, mirror_y, rotate);
      };
      for (const int format : kColorFormats) check_color(settings, mosaic, order.to_color, format, place);
      check_grey(settings, mosaic, order.to_grey, place);
    }
  }
}

// Golden values, worked out by hand: rows 0..2 of a BGGR frame.
TEST(Demosaic, InterpolatesWithTruncation) {
  const std::vector<uint8_t> frame = {10, 20,  30,  40,  //  B G B G
                                      51, 61,  73,  83,  //  G R G R
                                      90, 101, 112, 120, 130, 140, 150, 160};
  FrameSettings settings = distinct_settings(IndexMap(4, 4, false, false, false), false);
  settings.curves = std::make_shared<const ToneCurves>();
  std::vector<uint8_t> out(48);
  BGGRtoRGB888(settings, ImageView(frame, 4, 4), out.data(), KXCAM_FORMAT_COLOR);
  const auto pixel = [&](size_t i) { return std::vector<uint8_t>(&out[3 * i], &out[3 * i] + 3); };
  EXPECT_EQ(pixel(5), (std::vector<uint8_t>{61, (51 + 73 + 20 + 101) / 4, (10 + 30 + 90 + 112) / 4}));
  EXPECT_EQ(pixel(6), (std::vector<uint8_t>{(61 + 83) / 2, 73, (30 + 112) / 2}));
  EXPECT_EQ(pixel(9), (std::vector<uint8_t>{(61 + 140) / 2, 101, (90 + 112) / 2}));
  EXPECT_EQ(pixel(10), (std::vector<uint8_t>{(61 + 83 + 140 + 160) / 4, (101 + 120 + 73 + 150) / 4, 112}));
  EXPECT_EQ(pixel(0), (std::vector<uint8_t>{61, 20, 10}));      // blue site: its own cell
  EXPECT_EQ(pixel(4), (std::vector<uint8_t>{61, 51, 10}));      // green site of a red row
  EXPECT_EQ(pixel(15), (std::vector<uint8_t>{160, 150, 112}));  // red site: the green of its row
}

TEST(Demosaic, SumsSaturatedMatrixProductsWithoutOverflow) {
  FrameSettings settings = distinct_settings(IndexMap(2, 2, false, false, false), true);
  ColorMatrix matrix;
  init_saturation_matrix(matrix.color_matrix_table, 1.0,
                         {1e30, 1e30, 1e30, -1e30, -1e30, -1e30, 1e30, -1e30, 0});
  settings.matrix = std::make_shared<const ColorMatrix>(matrix);
  settings.curves = std::make_shared<const ToneCurves>();
  const std::vector<uint8_t> frame(4, 200);
  std::vector<uint8_t> out(12);
  RGGBtoRGB888(settings, ImageView(frame, 2, 2), out.data(), KXCAM_FORMAT_COLOR);
  EXPECT_EQ((std::vector<uint8_t>(out.begin(), out.begin() + 3)), (std::vector<uint8_t>{255, 0, 0}));
}

}  // namespace
}  // namespace kxcam::test
