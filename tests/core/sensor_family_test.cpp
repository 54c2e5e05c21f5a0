// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/sensor_family.h"

#include <gtest/gtest.h>

#include "core/registry/model_table.h"

namespace kxcam {
namespace {

// The rules as masks over the sensor id, the way the bridges' own firmware tells sensors apart.
bool lacks_isp_registers(uint32_t mid) {
  return (mid & 0xFE0) == 0x500 || (mid & 0xFF0) == 0x030 || (mid & 0xBF0) == 0xA00 ||
         (mid & 0xFF0) == 0x120 || (mid & 0xFF0) == 0x180;
}

bool is_line_scan(uint32_t mid) {
  return (mid & 0xFB0) == 0xB10 || (mid & 0xFF0) == 0xA30 || (mid & 0xFF0) == 0xB20;
}

RoiAlignment alignment(uint32_t mid) {
  const uint32_t sensor = mid & 0xFF0;
  if ((mid & 0xFFF0) == 0x0180 || (mid & 0xFFF0) == 0x0510 || sensor == 0xB20 || sensor == 0xB50)
    return {32, 2};
  if (sensor == 0x130 || sensor == 0xA30 || sensor == 0xB10) return {16, 2};
  if (sensor == 0xC30 || sensor == 0xC50 || sensor == 0xC80) return {8, 8};
  if ((mid & 0xFFF0) == 0x3200 || sensor == 0x860 || sensor == 0x910 || sensor == 0x680 || sensor == 0x720 ||
      sensor == 0x920 || (mid & 0xFE0) == 0x400) {
    return {8, 2};
  }
  return {2, 2};
}

TEST(SensorFamily, EveryModelHasTheTraitsOfItsSensor) {
  for (const CameraModel& model : model_table) {
    SCOPED_TRACE(::testing::Message() << std::hex << "sensor id " << model.MID);
    const SensorFamily& family = find_sensor_family(model.MID);
    EXPECT_EQ(family.isp_registers, !lacks_isp_registers(model.MID));
    EXPECT_EQ(family.line_scan, is_line_scan(model.MID));
    EXPECT_EQ(family.roi_alignment.x_and_width, alignment(model.MID).x_and_width);
    EXPECT_EQ(family.roi_alignment.y_and_height, alignment(model.MID).y_and_height);
    EXPECT_EQ(family.settling_time_ms, model.MID == 0x0E00 ? 300 : 0);
    EXPECT_EQ(family.wake_sensor != nullptr, model.MID == 0x0300);
  }
}

}  // namespace
}  // namespace kxcam
