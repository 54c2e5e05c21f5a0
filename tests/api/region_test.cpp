// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"
#include "kxcam/extra.h"

namespace kxcam::test {
namespace {

class Region : public CameraBus {
 protected:
  /// Every sample tells its place on the sensor, or nearly so.
  static void fill_places(const kxsim::FrameRequest& request, std::span<uint8_t> out) {
    size_t i = 0;
    for (int y = 0; y < request.readout.height; ++y) {
      for (int x = 0; x < request.readout.width; ++x) {
        const uint32_t place =
            static_cast<uint32_t>((y + request.readout.y) * 8192 + x + request.readout.x) * 2654435761U;
        out[i++] = static_cast<uint8_t>(place >> 24);
      }
    }
  }

  static constexpr int kPlain = KXCAM_FORMAT_GREY | KXCAM_FORMAT_UNCORRECTED;
};

TEST_F(Region, IsThePartOfThePictureThatWasAskedForHoweverItIsTurned) {
  const auto camera = plug("3A3B,fps=0");  // 640 x 480, in steps of 16 columns
  camera->set_frame_source(fill_places);
  ASSERT_EQ(CameraInit(0), 0U);
  for (int orientation = 0; orientation < 8; ++orientation) {
    SCOPED_TRACE(orientation);
    CameraSetMirrorX(0, (orientation & 1) != 0);
    CameraSetMirrorY(0, (orientation & 2) != 0);
    if (orientation == 4) CameraSetRotate(0, 90);
    const bool rotated = orientation >= 4;
    ASSERT_EQ(CameraSetResolution(0, 0, nullptr, nullptr), 0U);
    const Bytes whole = query(kPlain, 20);
    const auto [whole_width, whole_height] = image_size();
    ASSERT_EQ(whole_width, rotated ? 480 : 640);

    const int x = rotated ? 34 : 48;
    const int y = rotated ? 48 : 34;
    const int width = rotated ? 62 : 96;
    const int height = rotated ? 96 : 62;
    ASSERT_EQ(kxcam_set_region(0, x, y, width, height), 0);
    EXPECT_EQ(image_size(), std::pair(width, height));
    Bytes part;
    for (int row = y; row < y + height; ++row) {
      const auto begin = whole.begin() + ptrdiff_t{row} * whole_width + x;
      part.insert(part.end(), begin, begin + width);
    }
    EXPECT_EQ(query(kPlain, 20), part);
    EXPECT_EQ(kxcam_set_region(0, x + 2, y + 2, width, height), KXCAM_ERROR_ARGUMENT) << "between two steps";
    EXPECT_EQ(kxcam_set_region(0, whole_width - 32, y, 64, height), KXCAM_ERROR_ARGUMENT)
        << "beyond the edge";
  }
}

TEST_F(Region, InForceOutlivesSettingsThatAreLoadedAndAReconnect) {
  const auto camera = plug("3A3B,fps=0");
  camera->set_frame_source(fill_places);
  ASSERT_EQ(CameraInit(0), 0U);
  CameraSetMirrorX(0, false);
  CameraSetMirrorY(0, false);
  ASSERT_EQ(CameraSaveParameter(0, 0), 0U);
  ASSERT_EQ(CameraSetROI(0, 64, 32, 96, 62), 0U);
  CameraLoadParameter(0, 0);
  const Bytes before = query(kPlain, 20);
  EXPECT_EQ(std::pair(camera->readout().x, camera->readout().y), std::pair(64, 32));
  ASSERT_EQ(CameraReconnect(0), 0U);
  EXPECT_EQ(std::pair(camera->readout().x, camera->readout().y), std::pair(64, 32));
  EXPECT_EQ(query(kPlain, 20), before);
}

}  // namespace
}  // namespace kxcam::test
