// SPDX-License-Identifier: Apache-2.0
// What the pipeline does to a raw frame before it makes a picture of it.
#include <array>
#include <atomic>
#include <thread>

#include "context_fixture.h"
#include "core/picture/isp.h"
#include "core/picture/picture_settings.h"
#include "core/picture/white_balance_settings.h"
#include "core/registry/camera_parameter.h"
#include "frame_fixture.h"
#include "isp/defects.h"
#include "isp/plain_picture.h"

namespace kxcam::test {
namespace {

constexpr int kWidth = 24;
constexpr int kHeight = 20;
constexpr size_t kPixels = kWidth * kHeight;

using Samples = std::vector<uint8_t>;

class CorrectedFrame : public ContextTest {
 protected:
  /// A camera whose frames are a region of interest at (10, 20), with a dead pixel in the middle, under a
  /// fixed pattern.
  ContextRef open_imperfect(uint32_t color_mode) {
    ContextRef ctx = open(color_mode, kWidth, kHeight);
    ctx->stream.readout.store(std::make_shared<const ReadoutInForce>(
        ReadoutInForce{.region = RegionInForce{.window = {}, .offset_x = 10, .offset_y = 20}}));
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
Samples imperfect_frame() {
  Samples frame(kPixels, 40);
  frame[10 * kWidth + 12] = 3;
  frame[12 * kWidth + 8] = 200;
  frame[8 * kWidth + 8] = 92;
  return frame;
}

Samples raw_of(Samples& frame, int format) {
  Samples out(kPixels);
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
    Samples expected(kPixels, static_cast<uint8_t>(c.background));
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
  Samples samples(2 * kPixels);
  for (size_t i = 0; i < kPixels; ++i) {
    const int sample = imperfect_frame()[i] << 4;
    samples[2 * i] = static_cast<uint8_t>(sample);
    samples[2 * i + 1] = static_cast<uint8_t>(sample >> 8);
  }
  const auto original = samples;
  EXPECT_EQ(raw_of(samples, KXCAM_FORMAT_RAW), Samples(kPixels, 45));
  EXPECT_EQ(samples, original);
}

// The frame as it lies in memory counts, not the picture: 20 x 24 is asked for, rows of 24 are corrected.
TEST_F(CorrectedFrame, KeepsItsShapeWhileThePictureIsTurned) {
  const ContextRef ctx = open_imperfect(kRGGB);
  set_map(*ctx, IndexMap(kWidth, kHeight, false, false, true));
  auto frame = imperfect_frame();
  Samples out(kPixels);
  ASSERT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kHeight, kWidth, KXCAM_FORMAT_RAW)));
  EXPECT_EQ(out, Samples(kPixels, 45));
}

// Another thread that changes tables, list, gains and curves acts on whole frames.
TEST_F(CorrectedFrame, IsMadeWithOneSetOfTablesAndCurves) {
  const ContextRef ctx = open_imperfect(kRGGB);
  const std::vector<double> halved(34, 0.375);
  const std::vector<double> kept(34, -0.125);
  ASSERT_TRUE(set_fpn_data(*context_at(kCamera), kept.data(), kept.data(), nullptr, 34, 0));
  std::atomic<bool> done = false;
  std::thread setter([&] {
    for (int i = 0; !done; ++i) {
      const auto& columns = i % 2 == 0 ? halved : kept;
      set_fpn_data(*context_at(kCamera), columns.data(), columns.data(), nullptr, 34, 0);
      CameraSetBlackLevel(kCamera, i % 3 * 9);
      CameraSetWBGain(kCamera, 1.5, 1.0, 0.5);
      CameraOnePushWB(kCamera);
      ctx->picture.dead_pixels.store(std::make_shared<const DeadPixelList>());
    }
  });
  for (int i = 0; i < 500; ++i) {
    Samples frame(kPixels, 80);
    Samples out(3 * kPixels);
    EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, kHeight, KXCAM_FORMAT_COLOR)));
    // The gain is 1 - 0.125 - 0.375 or 1 - 0.125 + 0.125.
    EXPECT_TRUE(frame[0] == 40 || frame[0] == 80) << int{frame[0]};
    EXPECT_EQ(frame, Samples(kPixels, frame[0]));
    for (size_t i = 3; i < out.size(); ++i) ASSERT_EQ(out[i], out[i - 3]);
  }
  done = true;
  setter.join();
}

}  // namespace
}  // namespace kxcam::test
