// SPDX-License-Identifier: Apache-2.0
#include "core/picture/isp.h"

#include <algorithm>
#include <numeric>

#include "context_fixture.h"
#include "core/picture/picture_settings.h"
#include "core/registry/camera_parameter.h"
#include "frame_fixture.h"
#include "isp/plain_picture.h"

namespace kxcam::test {
namespace {

using Isp = ContextTest;
using Converter = int32_t (*)(const FrameSettings&, const ImageView&, uint8_t*, int);

constexpr int kUncorrectedColor = KXCAM_FORMAT_COLOR | KXCAM_FORMAT_UNCORRECTED;
constexpr int kUncorrectedGrey = KXCAM_FORMAT_GREY | KXCAM_FORMAT_UNCORRECTED;
constexpr int kUncorrectedRaw = KXCAM_FORMAT_RAW | KXCAM_FORMAT_UNCORRECTED;

struct Mode {
  uint32_t color_mode;
  Converter to_color;
  Converter to_grey;
};

TEST_F(Isp, ConvertsByTheColourModeOfTheModel) {
  constexpr Mode kModes[] = {
      {kRGGB, RGGBtoRGB888, RGGBtoGray8},  {kBGGR, BGGRtoRGB888, BGGRtoGray8},
      {kGRBG, GRBGtoRGB888, GRBGtoGray8},  {kGBRG, GBRGtoRGB888, GBRGtoGray8},
      {kMono8, RAW8toRGB888, RAW8toGray8},
  };
  constexpr int kWidth = 14;
  constexpr int kHeight = 9;
  for (const Mode& mode : kModes) {
    const ContextRef ctx = open(mode.color_mode, kWidth, kHeight, true);
    ASSERT_TRUE(ok(CameraSetGamma(kCamera, 1.6)));
    ASSERT_TRUE(ok(CameraSetSaturation(kCamera, 0.4)));
    auto frame = noise(kWidth * kHeight, mode.color_mode);
    // Grey comes before colour.
    for (const int format : {kUncorrectedColor, kUncorrectedGrey | KXCAM_FORMAT_COLOR}) {
      SCOPED_TRACE(testing::Message() << mode.color_mode << ", format " << format);
      const bool color = format == kUncorrectedColor;
      std::vector<uint8_t> expected(frame.size() * (color ? 3 : 1));
      const int32_t mean = (color ? mode.to_color : mode.to_grey)(
          frame_settings(*ctx), ImageView(frame, kWidth, kHeight), expected.data(), KXCAM_FORMAT_COLOR);
      GuardedOutput out(expected.size());
      ASSERT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, kHeight, format)));
      EXPECT_EQ(out.picture(), expected);
      EXPECT_TRUE(out.guards_intact());
      EXPECT_EQ(get(CameraGetAvg, kCamera), mean);
    }
  }
}

TEST_F(Isp, CopiesRawFramesAndWritesNothingWithoutAFormat) {
  const ContextRef ctx = open(kGRBG, 6, 4, true, true, true);
  auto frame = noise(24, 1);
  const auto original = frame;
  GuardedOutput raw(24);
  ASSERT_TRUE(ok(CameraISP(kCamera, frame.data(), raw.data(), 4, 6,
                           kUncorrectedRaw | KXCAM_FORMAT_GREY | KXCAM_FORMAT_COLOR)));
  EXPECT_EQ(raw.picture(), original);
  EXPECT_TRUE(raw.guards_intact());

  GuardedOutput nothing(96);
  ASSERT_TRUE(ok(
      CameraISP(kCamera, frame.data(), nothing.data(), 4, 6, KXCAM_FORMAT_32BIT | KXCAM_FORMAT_UNCORRECTED)));
  EXPECT_EQ(nothing.picture(), std::vector<uint8_t>(96, kGuard));
  EXPECT_EQ(frame, original);
}

TEST_F(Isp, ReducesTwelveBitSamplesByTheUserTable) {
  constexpr int kWidth = 7;
  open(kMono12, kWidth, 1);
  std::vector<uint8_t> lut(4096);
  for (size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<uint8_t>(i % 251);
  // The top digit of 0xF123 is none of the sample's.
  std::vector<uint8_t> frame = {0xFF, 0x0F, 0x23, 0xF1, 0x10, 0x00, 0x00,
                                0x08, 0x5A, 0xA4, 0xF0, 0xF0, 0x01, 0x0C};
  const std::array<int, kWidth> samples = {0xFFF, 0x123, 0x010, 0x800, 0x45A, 0x0F0, 0xC01};
  const auto original = frame;
  const auto levels = [&](int format) {
    GuardedOutput out(kWidth);
    EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, 1, format)));
    EXPECT_TRUE(out.guards_intact());
    return out.picture();
  };
  EXPECT_EQ(levels(kUncorrectedGrey), (std::vector<uint8_t>{0xFF, 0x12, 0x01, 0x80, 0x45, 0x0F, 0xC0}));
  ASSERT_TRUE(ok(CameraSetLUT(kCamera, lut.data(), 4096)));
  std::vector<uint8_t> expected(kWidth);
  std::ranges::transform(samples, expected.begin(), [](int v) { return static_cast<uint8_t>(v % 251); });
  EXPECT_EQ(levels(kUncorrectedRaw), expected);
  EXPECT_EQ(levels(kUncorrectedGrey), expected);
  EXPECT_EQ(get(CameraGetAvg, kCamera), std::accumulate(expected.begin(), expected.end(), 0) / kWidth);
  EXPECT_EQ(frame, original);
}

TEST_F(Isp, TakesTheSizeOfTheDeliveredPictureWhileRotated) {
  const ContextRef ctx = open(kBGGR, 8, 6, false, false, true);
  auto frame = noise(48, 2);
  std::vector<uint8_t> expected(48 * 3);
  BGGRtoRGB888(frame_settings(*ctx), ImageView(frame, 8, 6), expected.data(), KXCAM_FORMAT_COLOR);
  std::vector<uint8_t> out(expected.size());
  ASSERT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), 6, 8, kUncorrectedColor)));
  EXPECT_EQ(out, expected);
  // One row high, the turn shows in the map's row step alone.
  EXPECT_TRUE(is_rotated(IndexMap(5, 1, true, true, true)));
  EXPECT_FALSE(is_rotated(IndexMap(5, 1, true, true, false)));
  EXPECT_TRUE(is_rotated(IndexMap(1, 5, true, true, true)));
  EXPECT_FALSE(is_rotated(IndexMap(1, 5, true, true, false)));
}

TEST_F(Isp, RefusesWhatIsNotAFrameOfTheCamera) {
  uint8_t byte = 1;
  const auto call = [&](int camera, int width, int height) {
    return code_of(CameraISP, camera, &byte, &byte, width, height, kUncorrectedColor);
  };
  EXPECT_EQ(call(-1, 8, 6), KXCAM_ERROR_INDEX);
  EXPECT_EQ(call(256, 8, 6), KXCAM_ERROR_INDEX);
  EXPECT_EQ(call(kCamera, 8, 6), KXCAM_ERROR_NOT_OPEN);

  const ContextRef ctx = open(kBGGR);
  EXPECT_EQ(call(kCamera, 640, 480), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(call(kCamera, 0, 0), KXCAM_ERROR_ARGUMENT);
  set_map(*ctx, IndexMap(8, 6, false, false, false));
  // -8 x -6 and the products 2^32 + 48 and 2^32 x 48 are 48 or 0 in 32 bits.
  for (const auto& [width, height] : {std::pair{8, 7}, {-8, -6}, {48, 0}, {0x10000003, 16}, {1 << 30, 192}}) {
    EXPECT_EQ(call(kCamera, width, height), KXCAM_ERROR_ARGUMENT) << width << " x " << height;
  }
  EXPECT_EQ(byte, 1);
}

TEST_F(Isp, AppliesTheMatrixForEnhancementOrAnySaturationButOne) {
  open(kRGGB, 2, 2);
  set_ccm(*context_at(kCamera), std::array<double, 9>{0, 0, 1, 0, 1, 0, 1, 0, 0});
  const auto red_and_blue = [&] {
    std::vector<uint8_t> frame = {10, 100, 100, 200};
    std::vector<uint8_t> out(12);
    EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), 2, 2, kUncorrectedColor)));
    return std::pair<int, int>{out[0], out[2]};
  };
  EXPECT_EQ(red_and_blue(), std::pair(10, 200));
  ASSERT_TRUE(ok(CameraSetEnhancement(kCamera, true)));
  EXPECT_EQ(red_and_blue(), std::pair(200, 10));
  set_ccm(*context_at(kCamera), kIdentity);
  EXPECT_EQ(red_and_blue(), std::pair(200, 10)) << "a matrix acts from the next rebuild on";
  ASSERT_TRUE(ok(CameraSetEnhancement(kCamera, false)));
  EXPECT_EQ(red_and_blue(), std::pair(10, 200));
  // Just off 1.0 the products of the diagonal fall below the whole numbers.
  ASSERT_TRUE(ok(CameraSetSaturation(kCamera, 0.9999999)));
  EXPECT_NE(red_and_blue(), std::pair(10, 200));
  ASSERT_TRUE(ok(CameraSetSaturation(kCamera, 0.0)));
  EXPECT_EQ(red_and_blue(), std::pair(2 + 71 + 15, 2 + 71 + 15));
}

}  // namespace
}  // namespace kxcam::test
