// SPDX-License-Identifier: Apache-2.0
// What the pipeline does to a raw frame before it makes a picture of it.
#include <array>
#include <atomic>
#include <thread>

#include "context_fixture.h"
#include "core/picture/correction_settings.h"
#include "core/picture/isp.h"
#include "core/picture/white_balance_settings.h"
#include "core/registry/camera_parameter.h"
#include "frame_fixture.h"
#include "isp/demosaic.h"
#include "isp/despeckle.h"

namespace kxcam::test {
namespace {

constexpr int kWidth = 24;
constexpr int kHeight = 20;
constexpr size_t kPixels = kWidth * kHeight;

class CorrectedFrame : public ContextTest {
 protected:
  /// A camera whose frames are a region of interest at (10, 20), with a dead pixel in the middle, under a
  /// fixed pattern.
  ContextRef open_imperfect(uint32_t color_mode) {
    ContextRef ctx = open(color_mode);
    set_map(*ctx, IndexMap(kWidth, kHeight, false, false, false));
    ctx->parameter.enable_roi = 1;
    ctx->parameter.roi_offset_x = 10;
    ctx->parameter.roi_offset_y = 20;
    DeadPixelList list;
    list.dead_pixel_count = 1;
    list.dead_pixels[0] = {10 + 12, 20 + 10};
    ctx->picture.dead_pixels.store(std::make_shared<const DeadPixelList>(list));
    ctx->picture.flat_field.update([&](FlatField& field) {
      field = FlatField(ctx->model().SENSOR_ARRAY);
      const std::vector<double> columns(10 + kWidth, -0.25);
      field.set_columns(columns, columns);
      field.set_rows(std::vector<double>(20 + kHeight, 0.125));
    });
    return ctx;
  }
};

/// 40 everywhere but for the dead pixel, a speckle, and a pixel that only the flat field makes one.
std::vector<uint8_t> imperfect_frame() {
  std::vector<uint8_t> frame(kPixels, 40);
  frame[10 * kWidth + 12] = 3;
  frame[12 * kWidth + 8] = 200;
  frame[8 * kWidth + 8] = 92;
  return frame;
}

std::vector<uint8_t> raw_of(std::vector<uint8_t>& frame, int format) {
  std::vector<uint8_t> out(kPixels);
  EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, kHeight, format)));
  return out;
}

TEST_F(CorrectedFrame, PassesItsStagesInOrderAndByTheirSwitches) {
  open_imperfect(kBGGR);
  struct Case {
    bool denoise;
    bool fpn;
    int dead;
    int background;
    int speckle;
    int faint;
  };
  // The flat field multiplies by 1.125: 92 x 1.125 = 103, above 100 and more than 50 above 45.
  constexpr Case kCases[] = {
      {true, true, 45, 45, 45, 45},
      {true, false, 40, 40, 40, 92},
      {false, true, 45, 45, 225, 103},
      {false, false, 40, 40, 200, 92},
  };
  for (const Case& c : kCases) {
    ASSERT_TRUE(ok(CameraSetDenoise(kCamera, c.denoise)));
    ASSERT_TRUE(ok(CameraSetFPN(kCamera, c.fpn)));
    std::vector<uint8_t> expected(kPixels, static_cast<uint8_t>(c.background));
    expected[10 * kWidth + 12] = static_cast<uint8_t>(c.dead);
    expected[12 * kWidth + 8] = static_cast<uint8_t>(c.speckle);
    expected[8 * kWidth + 8] = static_cast<uint8_t>(c.faint);
    auto frame = imperfect_frame();
    EXPECT_EQ(raw_of(frame, KXCAM_FORMAT_RAW), expected);
    EXPECT_EQ(frame, expected) << "the caller's frame is corrected in place";
  }
}

TEST_F(CorrectedFrame, ComesOutUntouchedOnDemand) {
  open_imperfect(kGRBG);
  auto frame = imperfect_frame();
  EXPECT_EQ(raw_of(frame, KXCAM_FORMAT_RAW | KXCAM_FORMAT_UNCORRECTED), imperfect_frame());
  EXPECT_EQ(frame, imperfect_frame());
}

TEST_F(CorrectedFrame, OfTwelveBitsIsCorrectedAfterTheLookUp) {
  open_imperfect(kMono12);
  std::vector<uint8_t> samples(2 * kPixels);
  for (size_t i = 0; i < kPixels; ++i) {
    const int sample = imperfect_frame()[i] << 4;
    samples[2 * i] = static_cast<uint8_t>(sample);
    samples[2 * i + 1] = static_cast<uint8_t>(sample >> 8);
  }
  const auto original = samples;
  EXPECT_EQ(raw_of(samples, KXCAM_FORMAT_RAW), std::vector<uint8_t>(kPixels, 45));
  EXPECT_EQ(samples, original);
}

// The frame as it lies in memory counts, not the picture: 20 x 24 is asked for, rows of 24 are corrected.
TEST_F(CorrectedFrame, KeepsItsShapeWhileThePictureIsTurned) {
  const ContextRef ctx = open_imperfect(kRGGB);
  set_map(*ctx, IndexMap(kWidth, kHeight, false, false, true));
  auto frame = imperfect_frame();
  std::vector<uint8_t> out(kPixels);
  ASSERT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kHeight, kWidth, KXCAM_FORMAT_RAW)));
  EXPECT_EQ(out, std::vector<uint8_t>(kPixels, 45));
}

// Another thread that changes tables, list and gains acts on whole frames.
TEST_F(CorrectedFrame, IsCorrectedWithOneSetOfTables) {
  const ContextRef ctx = open_imperfect(kRGGB);
  const std::vector<double> halved(34, 0.375);
  const std::vector<double> kept(34, -0.125);
  ASSERT_TRUE(set_fpn_data(kCamera, kept.data(), kept.data(), nullptr, 34, 0));
  std::atomic<bool> done = false;
  std::thread setter([&] {
    for (int i = 0; !done; ++i) {
      const auto& columns = i % 2 == 0 ? halved : kept;
      set_fpn_data(kCamera, columns.data(), columns.data(), nullptr, 34, 0);
      CameraSetWBGain(kCamera, 1.5, 1.0, 0.5);
      CameraOnePushWB(kCamera);
      ctx->picture.dead_pixels.store(std::make_shared<const DeadPixelList>());
    }
  });
  for (int i = 0; i < 500; ++i) {
    std::vector<uint8_t> frame(kPixels, 80);
    std::vector<uint8_t> out(3 * kPixels);
    EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, kHeight, KXCAM_FORMAT_COLOR)));
    // The gain is 1 - 0.125 - 0.375 or 1 - 0.125 + 0.125.
    EXPECT_TRUE(frame[0] == 40 || frame[0] == 80) << int{frame[0]};
    EXPECT_EQ(frame, std::vector<uint8_t>(kPixels, frame[0]));
  }
  done = true;
  setter.join();
}

/// Nearly grey cells all over.
std::vector<uint8_t> tinted_frame(const CameraContext& ctx) {
  std::vector<uint8_t> frame(kPixels, 100);
  const bool green_first = ctx.model().COLOR_MODE == kGRBG || ctx.model().COLOR_MODE == kGBRG;
  for (size_t i = 0; i < kPixels; ++i) {
    const bool even = (i % kWidth + i / kWidth) % 2 == 0;
    if (even == green_first) frame[i] = 120;
  }
  return frame;
}

class MeasuredFrame : public ContextTest {
 protected:
  ContextRef open_plain(uint32_t color_mode) {
    ContextRef ctx = open(color_mode);
    set_map(*ctx, IndexMap(kWidth, kHeight, false, false, false));
    return ctx;
  }

  /// Develops a frame; the red of its picture, or the level of a grey one.
  static int developed(std::vector<uint8_t> frame, int format) {
    std::vector<uint8_t> out(3 * kPixels);
    EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, kHeight, format)));
    return out[0];
  }

  static double red_gain() {
    double gain = 0;
    EXPECT_TRUE(ok(CameraGetWBGain(kCamera, &gain, nullptr, nullptr)));
    return gain;
  }
};

TEST_F(MeasuredFrame, GetsTheGainsThatItWasMeasuredFor) {
  for (const uint32_t mode : {kRGGB, kBGGR, kGRBG, kGBRG}) {
    for (const int format : {KXCAM_FORMAT_COLOR, KXCAM_FORMAT_GREY}) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << ", format " << format);
      const ContextRef ctx = open_plain(mode);
      const auto frame = tinted_frame(*ctx);
      ASSERT_TRUE(ok(CameraOnePushWB(kCamera)));
      // Grey is the luma of equal channels: its three products are cut one by one, so it may lose 2.
      EXPECT_NEAR(developed(frame, format), 120, format == KXCAM_FORMAT_GREY ? 2 : 0);
      EXPECT_EQ(red_gain(), 1.2);
      EXPECT_FALSE(ctx->picture.one_push_request);
      ASSERT_TRUE(ok(CameraSetWBGain(kCamera, 1, 1, 1)));
      developed(frame, format);
      EXPECT_EQ(red_gain(), 1.0) << "one request, one measurement";
      ctx->picture.mean_level = 0;
      ASSERT_TRUE(ok(CameraSetAWB(kCamera, true)));
      EXPECT_NEAR(developed(frame, format), 120, format == KXCAM_FORMAT_GREY ? 2 : 0);
      EXPECT_EQ(red_gain(), 1.2);
      EXPECT_FALSE(ctx->picture.auto_wb_request);
      vacate_slot(kCamera);
    }
  }
}

TEST_F(MeasuredFrame, IsTheCorrectedOne) {
  open_plain(kRGGB);
  auto frame = std::vector<uint8_t>(kPixels, 100);
  frame[8 * kWidth + 12] = 250;  // a red speckle in the middle
  ASSERT_TRUE(ok(CameraOnePushWB(kCamera)));
  developed(frame, KXCAM_FORMAT_COLOR | KXCAM_FORMAT_UNCORRECTED);
  EXPECT_LT(red_gain(), 1.0);
  ASSERT_TRUE(ok(CameraOnePushWB(kCamera)));
  developed(frame, KXCAM_FORMAT_COLOR);
  EXPECT_EQ(red_gain(), 1.0);
}

TEST_F(MeasuredFrame, IsTheNextPictureOfAColourModel) {
  ContextRef ctx = open_plain(kGBRG);
  ASSERT_TRUE(ok(CameraOnePushWB(kCamera)));
  developed(tinted_frame(*ctx), KXCAM_FORMAT_RAW);
  developed(tinted_frame(*ctx), 0);
  EXPECT_TRUE(ctx->picture.one_push_request) << "raw frames and no picture at all leave a request alone";
  EXPECT_EQ(red_gain(), 1.0);
  vacate_slot(kCamera);

  ctx = open_plain(kMono8);
  ASSERT_TRUE(ok(CameraOnePushWB(kCamera)));
  ASSERT_TRUE(ok(CameraSetAWB(kCamera, true)));
  for (int n = 0; n < 40; ++n)
    developed(std::vector<uint8_t>(kPixels, 90), n % 2 == 0 ? KXCAM_FORMAT_COLOR : KXCAM_FORMAT_GREY);
  EXPECT_EQ(red_gain(), 1.0);
  EXPECT_EQ(ctx->picture.wb_last_avg, 0);
}

// A change of brightness too small for the trigger of every fifth frame, in a steady stream.
TEST_F(MeasuredFrame, FollowsAModerateChangeWithin32Frames) {
  const ContextRef ctx = open_plain(kBGGR);
  ASSERT_TRUE(ok(CameraSetAWB(kCamera, true)));
  const auto dark = std::vector<uint8_t>(kPixels, 100);
  for (int n = 0; n < 35; ++n) developed(dark, KXCAM_FORMAT_COLOR);
  EXPECT_EQ(ctx->picture.wb_last_avg, 100);
  EXPECT_EQ(red_gain(), 1.0);
  auto brighter = tinted_frame(*ctx);
  for (uint8_t& level : brighter) level = static_cast<uint8_t>(level - 4);
  // Its mean green is 116; nothing is brighter than that by 30, so the gains stay, but the trigger fires.
  int frames = 0;
  while (ctx->picture.wb_last_avg == 100 && frames < 40) {
    developed(brighter, KXCAM_FORMAT_COLOR);
    ++frames;
  }
  EXPECT_EQ(ctx->picture.wb_last_avg, 116);
  EXPECT_LE(frames, 32);
  EXPECT_TRUE(ctx->picture.auto_wb_request);
  developed(brighter, KXCAM_FORMAT_COLOR);
  EXPECT_FALSE(ctx->picture.auto_wb_request);
}

}  // namespace
}  // namespace kxcam::test
