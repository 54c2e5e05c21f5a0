// SPDX-License-Identifier: Apache-2.0
#include "device/sensor_trigger.h"

namespace kxsim {

std::optional<SensorTrigger> sensor_trigger(uint32_t sensor_id) {
  constexpr uint32_t kMonoVariant = 0xB;
  switch ((sensor_id & 0xF) == kMonoVariant ? sensor_id - kMonoVariant : sensor_id) {
    case 0x030:
      return SensorTrigger{0x07, 0x0010, 0x0010, 0x0000};
    case 0x120:
    case 0x200:
      return SensorTrigger{0x301A, 0x0004, 0x0000, 0x01DC};
    case 0x130:
    case 0x300:
    case 0x500:
      return SensorTrigger{0x1E, 0x0100, 0x0100, 0x0000};
    case 0x400:
    case 0x410:
      return SensorTrigger{0x3222, 0x0002, 0x0002, 0x0001};
    case 0xE60:
    case 0xE70:
      return SensorTrigger{0x0B, 0x0100, 0x0100, 0x0006};
    default:
      return std::nullopt;
  }
}

}  // namespace kxsim
