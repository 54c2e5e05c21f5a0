// SPDX-License-Identifier: Apache-2.0
#include <array>
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
  using Row = std::array<int, 4>;
  const auto expect = [](bool taken, uint32_t model, std::initializer_list<Row> rows, uint16_t flags = 0) {
    for (const auto& [x, y, w, h] : rows)
      EXPECT_EQ(map(model, flags, x, y, w, h).has_value(), taken) << x << ", " << y << ", " << w << ", " << h;
  };
  // clang-format off
  // 2592 x 1944, in steps of two, inside the sensor
  expect(true, 0x3500, {Row{2, 4, 6, 8}, {2590, 1942, 2, 2}});
  expect(false, 0x3500, {Row{1, 4, 6, 8}, {2, 3, 6, 8}, {2, 4, 5, 8}, {2, 4, 6, 7}, {2590, 0, 4, 2}, {0, 1942, 2, 4},
                         {-2, 0, 4, 4}, {0, 0, 0, 4}, {0, 0, 4, -4}, {INT_MAX - 1, 0, INT_MAX - 1, 4}});
  expect(false, 0x3500, {Row{INT_MIN, INT_MIN, INT_MAX - 1, INT_MAX - 1}}, kMirrorX | kMirrorY);
  // in steps of 16 and 32 columns, and of 8 in both
  expect(true, 0x3A30, {Row{16, 2, 32, 4}});
  expect(false, 0x3A30, {Row{8, 2, 32, 4}});
  expect(false, 0x3510, {Row{32, 0, 48, 4}});
  expect(true, 0x3C30, {Row{8, 8, 16, 16}});
  expect(false, 0x3C30, {Row{8, 4, 16, 16}});
  // clang-format on
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
