// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

namespace kxsim {

/// Sensors that wait for a trigger because of a bit in a register of their own, rather than because the
/// bridge was told.
struct SensorTrigger {
  uint16_t address;
  uint16_t mask;
  uint16_t triggered;  ///< value of the masked bits in trigger mode
  uint16_t power_up;   ///< the register's content after power-up: free run
};

/// Nothing for sensors whose bridge does it.
std::optional<SensorTrigger> sensor_trigger(uint32_t sensor_id);

}  // namespace kxsim
