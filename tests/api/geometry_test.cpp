// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"

namespace kxcam {
namespace {

class Geometry : public CameraBus {
 protected:
  /// A camera whose sensor is dark but for its first pixel and the one right of it.
  void open_marked(const std::string& model) {
    const auto camera = plug(model + ",fps=0");
    camera->set_frame_source([](const kxsim::FrameRequest& request, std::span<uint8_t> out) {
      std::ranges::fill(out, 10);
      if (request.readout.x == 0 && request.readout.y == 0 && out.size() >= 2) {
        out[0] = 200;
        out[1] = 100;
      }
    });
    ASSERT_EQ(CameraInit(0), 0U);
  }

  struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> grey;

    int at(int x, int y) const {
      return grey[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
  };

  static Picture grey() {
    Picture picture;
    EXPECT_EQ(CameraGetImageSize(0, &picture.width, &picture.height), 0U);
    int size = buffer_size(KXCAM_FORMAT_GREY);
    picture.grey.resize(static_cast<size_t>(size));
    EXPECT_EQ(CameraQueryImage(0, picture.grey.data(), &size, KXCAM_FORMAT_GREY), 0U);
    return picture;
  }
};

TEST_F(Geometry, TheMarkedCornerLandsWhereMirrorsAndRotationSay) {
  open_marked("360B");  // monochrome, 720 x 540
  Picture picture = grey();
  EXPECT_EQ(picture.at(0, 0), 200);
  EXPECT_EQ(picture.at(1, 0), 100);

  CameraSetMirrorX(0, true);
  picture = grey();
  EXPECT_EQ(picture.at(719, 0), 200);
  EXPECT_EQ(picture.at(718, 0), 100);
  CameraSetMirrorY(0, true);
  EXPECT_EQ(grey().at(719, 539), 200);
  bool on = false;
  EXPECT_EQ(CameraGetMirrorY(0, &on), 0U);
  EXPECT_TRUE(on);

  CameraSetMirrorX(0, false);
  CameraSetMirrorY(0, false);
  ASSERT_EQ(CameraSetRotate(0, 90), 0U);
  picture = grey();
  EXPECT_EQ(picture.width, 540);
  EXPECT_EQ(picture.height, 720);
  EXPECT_EQ(picture.at(539, 0), 200);
  EXPECT_EQ(picture.at(539, 1), 100);
  ASSERT_EQ(CameraSetRotate(0, 45), 0U);
  ASSERT_EQ(CameraSetRotate(0, 90), 0U);
  EXPECT_EQ(grey().at(0, 0), 200);
  ASSERT_EQ(CameraSetRotate(0, 180), 0U);  // both mirrors and the rotation
  EXPECT_EQ(grey().at(0, 719), 200);
}

TEST_F(Geometry, PresetsAndRegionsChangeThePictureAndFailuresDoNot) {
  const auto camera = open("3600");
  int count = 0;
  ASSERT_EQ(CameraGetResolutionCount(0, &count), 0U);
  ASSERT_GE(count, 2);
  int width = 0;
  int height = 0;
  ASSERT_EQ(CameraGetResolution(0, 1, &width, &height), 0U);
  int set_width = 0;
  int set_height = 0;
  ASSERT_EQ(CameraSetResolution(0, 1, &set_width, &set_height), 0U);
  EXPECT_EQ(set_width, width);
  EXPECT_EQ(set_height, height);
  EXPECT_EQ(query_raw().size(), static_cast<size_t>(width) * static_cast<size_t>(height));

  ASSERT_EQ(CameraSetROI(0, 16, 32, 64, 48), 0U);
  EXPECT_EQ(camera->readout().x, 16);
  EXPECT_EQ(camera->readout().y, 32);
  EXPECT_NE(number_of(query_raw()), -1);
  EXPECT_EQ(CameraSetROI(0, 1, 32, 64, 48), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);

  using Action = kxsim::RequestFault::Action;
  camera->inject(
      {.requests = {{.action = Action::kReply, .code = 0xAC, .reply = {0xFF, 0xFF, 0xFF, 0xFF, 1, 0}}}});
  EXPECT_EQ(CameraSetResolution(0, 0, nullptr, nullptr), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  camera->inject({.requests = {{.action = Action::kStall, .code = 0xAD}}});
  EXPECT_EQ(CameraSetROI(0, 0, 0, 128, 48), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(CameraGetImageSize(0, &width, &height), 0U);
  EXPECT_EQ(width, 64);
  EXPECT_EQ(height, 48);
}

TEST_F(Geometry, ARotatedRegionHasTheSizeThatWasAskedFor) {
  const auto camera = open("3600");
  ASSERT_EQ(CameraSetRotate(0, 90), 0U);
  ASSERT_EQ(CameraSetROI(0, 8, 16, 64, 128), 0U);
  EXPECT_EQ(camera->readout().width, 128);
  EXPECT_EQ(camera->readout().height, 64);
  int width = 0;
  int height = 0;
  ASSERT_EQ(CameraGetImageSize(0, &width, &height), 0U);
  EXPECT_EQ(width, 64);
  EXPECT_EQ(height, 128);
  int size = buffer_size(KXCAM_FORMAT_COLOR);
  std::vector<uint8_t> image(static_cast<size_t>(size));
  EXPECT_EQ(CameraQueryImage(0, image.data(), &size, KXCAM_FORMAT_COLOR), 0U);
}

TEST_F(Geometry, OnlyLineScanSensorsAreToldTheLineSettings) {
  const auto area = plug("3600");
  const auto line = plug("3A3B");
  ASSERT_EQ(CameraInit(0), 0U);
  ASSERT_EQ(CameraInit(1), 0U);
  line->clear_requests();
  for (const int camera : {0, 1}) {
    EXPECT_EQ(CameraSetLineHeight(camera, 0x10005), 0U);
    EXPECT_EQ(CameraSetLineTrigger(camera, 7), 0U);
    int value = -1;
    EXPECT_EQ(CameraGetLineHeight(camera, &value), 0U);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(CameraGetLineTrigger(camera, &value), 0U);
    EXPECT_EQ(value, 0);
  }
  EXPECT_TRUE(area->requests(0xB5).empty());
  ASSERT_EQ(line->requests(0xB5).size(), 2U);
  EXPECT_EQ(line->requests(0xB5)[0].value, 5);
}

}  // namespace
}  // namespace kxcam
