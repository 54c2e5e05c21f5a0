// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"

namespace kxcam::test {
namespace {

class Geometry : public CameraBus {
 protected:
  /// Where the bright first pixel of the sensor is in the picture, and the one right of it.
  static std::array<int, 4> marks() {
    const auto [width, height] = image_size();
    const Bytes grey = query(KXCAM_FORMAT_GREY);
    const int first = static_cast<int>(std::ranges::find(grey, 200) - grey.begin());
    const int second = static_cast<int>(std::ranges::find(grey, 100) - grey.begin());
    return {first % width, first / width, second % width, second / width};
  }
};

TEST_F(Geometry, TheMarkedCornerLandsWhereMirrorsAndRotationSay) {
  const auto camera = plug("360B,fps=0");  // monochrome, 720 x 540
  camera->set_frame_source([](const kxsim::FrameRequest&, std::span<uint8_t> out) {
    std::ranges::fill(out, 10);
    out[0] = 200;
    out[1] = 100;
  });
  ASSERT_EQ(CameraInit(0), 0U);
  const auto mirror = [](bool x, bool y) {
    EXPECT_EQ(CameraSetMirrorX(0, x), 0U);
    EXPECT_EQ(CameraSetMirrorY(0, y), 0U);
    EXPECT_EQ(get(CameraGetMirrorX, 0), x);
    EXPECT_EQ(get(CameraGetMirrorY, 0), y);
  };
  EXPECT_EQ(marks(), (std::array{0, 0, 1, 0}));
  mirror(true, false);
  EXPECT_EQ(marks(), (std::array{719, 0, 718, 0}));
  mirror(true, true);
  EXPECT_EQ(marks(), (std::array{719, 539, 718, 539}));
  mirror(false, false);
  ASSERT_EQ(CameraSetRotate(0, 90), 0U);
  EXPECT_EQ(image_size(), std::pair(540, 720));
  EXPECT_EQ(marks(), (std::array{539, 0, 539, 1}));
  ASSERT_EQ(CameraSetRotate(0, 45), 0U);
  ASSERT_EQ(CameraSetRotate(0, 360), 0U);
  EXPECT_EQ(marks(), (std::array{0, 0, 1, 0}));
  ASSERT_EQ(CameraSetRotate(0, 180), 0U);  // both mirrors and the rotation
  EXPECT_EQ(marks(), (std::array{0, 719, 0, 718}));
}

TEST_F(Geometry, PresetsAndRegionsChangeThePictureAndFailuresDoNot) {
  const auto camera = open("3600");
  ASSERT_GE(get(CameraGetResolutionCount, 0), 2);
  std::pair asked(0, 0);
  std::pair set(0, 0);
  ASSERT_EQ(CameraGetResolution(0, 1, &asked.first, &asked.second), 0U);
  ASSERT_EQ(CameraSetResolution(0, 1, &set.first, &set.second), 0U);
  EXPECT_EQ(set, asked);
  EXPECT_EQ(query_raw().size(), static_cast<size_t>(asked.first * asked.second));

  ASSERT_EQ(CameraSetROI(0, 16, 32, 64, 48), 0U);
  EXPECT_EQ(camera->readout().x, 16);
  EXPECT_EQ(camera->readout().y, 32);
  EXPECT_NE(number_of(query_raw()), -1);
  EXPECT_EQ(code_of(CameraSetROI, 0, 1, 32, 64, 48), KXCAM_ERROR_ARGUMENT);
  camera->inject(
      {.requests = {{.action = Fault::kReply, .code = 0xAC, .reply = {0xFF, 0xFF, 0xFF, 0xFF, 1, 0}}}});
  EXPECT_EQ(code_of(CameraSetResolution, 0, 0, nullptr, nullptr), KXCAM_ERROR_READ_REQUEST);
  fail_requests(*camera, 0xAD);
  EXPECT_EQ(code_of(CameraSetROI, 0, 0, 0, 128, 48), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(image_size(), std::pair(64, 48));
}

TEST_F(Geometry, SizesThatFitNoIntAreRefused) {
  ASSERT_EQ(CameraInitVirtual(0, 0x3600, nullptr), 0U);
  const auto of = [](int width, int height, int format) {
    int size = -1;
    return code_of(CameraGetISPImageBufferSize, 0, &size, width, height, format) == 0 ? size : -code();
  };
  EXPECT_EQ(of(30'000, 20'000, KXCAM_FORMAT_COLOR), 1'800'000'000);
  EXPECT_EQ(of(30'000, 20'000, KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT), -KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(of(1 << 16, 1 << 15, KXCAM_FORMAT_GREY), -KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(of(0, 10, KXCAM_FORMAT_GREY), -KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(of(10, 10, KXCAM_FORMAT_32BIT), -KXCAM_ERROR_ARGUMENT) << "of what?";
}

TEST_F(Geometry, OnlyLineScanSensorsAreToldTheLineSettings) {
  const auto area = plug("3600");
  const auto line = plug("3A3B");
  ASSERT_EQ(CameraInit(0), 0U);
  ASSERT_EQ(CameraInit(1), 0U);
  line->clear_requests();
  for (const int camera : {0, 1}) {
    EXPECT_EQ(CameraSetLineHeight(camera, 0x10005), 0U);
    EXPECT_EQ(get(CameraGetLineHeight, camera), 5);
    EXPECT_EQ(CameraSetLineTrigger(camera, 7), 0U);
    EXPECT_EQ(get(CameraGetLineTrigger, camera), 0);
  }
  EXPECT_TRUE(area->requests(0xB5).empty());
  EXPECT_EQ(requests(*line), (std::vector<Request>{{0xB5, 1, 5}, {0xB5, 3, 0}}));
}

}  // namespace
}  // namespace kxcam::test
