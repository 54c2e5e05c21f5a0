// SPDX-License-Identifier: Apache-2.0
#include <climits>

#include <gtest/gtest.h>

#include "core/acquisition/readout.h"
#include "core/registry/camera_parameter.h"

namespace kxcam {
namespace {

std::optional<SensorWindow> map(uint32_t product_id, uint16_t flags, int x, int y, int w, int h) {
  CameraContext context(find_model(product_id));
  context.parameter.isp_flags = flags;
  return MapViewToSensor(context, x, y, w, h);
}

TEST(MapViewToSensor, RefusesWhatTheSensorCannotPlace) {
  constexpr uint32_t kAnyTwo = 0x3500;     // 2592 x 1944
  constexpr uint32_t kSixteen = 0x3A30;    // 640 x 480
  constexpr uint32_t kThirtyTwo = 0x3510;  // 2592 x 1944
  constexpr uint32_t kEightBoth = 0x3C30;  // 2064 x 1544
  EXPECT_TRUE(map(kAnyTwo, 0, 2, 4, 6, 8));
  EXPECT_FALSE(map(kAnyTwo, 0, 1, 4, 6, 8));
  EXPECT_FALSE(map(kAnyTwo, 0, 2, 3, 6, 8));
  EXPECT_FALSE(map(kAnyTwo, 0, 2, 4, 5, 8));
  EXPECT_FALSE(map(kAnyTwo, 0, 2, 4, 6, 7));
  EXPECT_TRUE(map(kSixteen, 0, 16, 2, 32, 4));
  EXPECT_FALSE(map(kSixteen, 0, 8, 2, 32, 4));
  EXPECT_FALSE(map(kThirtyTwo, 0, 32, 0, 48, 4));
  EXPECT_TRUE(map(kEightBoth, 0, 8, 8, 16, 16));
  EXPECT_FALSE(map(kEightBoth, 0, 8, 4, 16, 16));
}

TEST(MapViewToSensor, KeepsInsideTheSensor) {
  EXPECT_TRUE(map(0x3500, 0, 2590, 1942, 2, 2));
  EXPECT_FALSE(map(0x3500, 0, 2590, 0, 4, 2));
  EXPECT_FALSE(map(0x3500, 0, 0, 1942, 2, 4));
  EXPECT_FALSE(map(0x3500, 0, -2, 0, 4, 4));
  EXPECT_FALSE(map(0x3500, 0, 0, 0, 0, 4));
  EXPECT_FALSE(map(0x3500, 0, 0, 0, 4, -4));
  EXPECT_FALSE(map(0x3500, 0, INT_MAX - 1, 0, INT_MAX - 1, 4));
  EXPECT_FALSE(map(0x3500, kMirrorX | kMirrorY, INT_MIN, INT_MIN, INT_MAX - 1, INT_MAX - 1));
}

TEST(MapViewToSensor, FollowsMirrorsAndRotation) {
  const auto window = [](uint16_t flags) { return map(0x3500, flags, 100, 200, 640, 480); };
  EXPECT_EQ(window(0), (SensorWindow{100, 200, 640, 480}));
  EXPECT_EQ(window(kMirrorX), (SensorWindow{2592 - 740, 200, 640, 480}));
  EXPECT_EQ(window(kMirrorY), (SensorWindow{100, 1944 - 680, 640, 480}));
  EXPECT_EQ(window(kMirrorX | kMirrorY), (SensorWindow{2592 - 740, 1944 - 680, 640, 480}));
  EXPECT_EQ(window(kRotate90), (SensorWindow{200, 100, 480, 640}));
  EXPECT_EQ(window(kRotate90 | kMirrorY), (SensorWindow{1944 - 680, 100, 480, 640}));
  // Mirrored in x, the window would begin at row 1852 and end below the sensor's last row.
  EXPECT_FALSE(window(kRotate90 | kMirrorX));
  EXPECT_EQ(map(0x3500, kRotate90 | kMirrorX, 1000, 200, 640, 480), (SensorWindow{200, 952, 480, 640}));
  EXPECT_EQ(map(0x3500, kRotate90 | kMirrorX | kMirrorY, 1000, 200, 640, 480),
            (SensorWindow{1264, 952, 480, 640}));
}

}  // namespace
}  // namespace kxcam
