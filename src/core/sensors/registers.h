// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "core/control/registers.h"
#include "usb/bridge.h"

namespace kxcam {

struct RegisterWrite {
  uint32_t reg;
  uint32_t value;
};

/// Writes sensor registers in that order, also after one that failed; true when all were written.
bool sccb_write_all(CameraContext& camera, std::initializer_list<RegisterWrite> writes);

/// Two registers of eight bits as one value, the first one high; nothing when either cannot be read.
std::optional<int32_t> sccb_read_pair(CameraContext& camera, uint32_t high_reg, uint32_t low_reg);

/// The low byte of a value that is spread over registers of eight bits, `place` bytes up.
constexpr uint32_t byte_of(int64_t value, int place) {
  return static_cast<uint32_t>(value >> (8 * place)) & 0xFF;
}

/// A step that writes its argument to one sensor register.
template <uint32_t kRegister>
bool write_value(CameraContext& camera, int32_t value) {
  return sccb_write(camera, kRegister, static_cast<uint32_t>(value));
}

/// A step whose outcome its setter does not report.
template <bool (*kStep)(CameraContext&, int32_t)>
bool regardless(CameraContext& camera, int32_t value) {
  kStep(camera, value);
  return true;
}

/// A sensor register of mode bits. NOT_SUPPORTED when the sensor does not answer, NO_DEVICE
/// without a device.
std::optional<uint32_t> read_mode_bits(CameraContext& camera, uint32_t reg);

/// Sets or clears bits of such a register; false when it could not be read, and only then.
bool switch_mode_bits(CameraContext& camera, uint32_t reg, uint32_t bits, bool on);

/// The same for a polarity: false also when the register could not be written.
bool switch_polarity_bit(CameraContext& camera, uint32_t reg, uint32_t bit, bool on);

/// Tells the bridge whether frames wait for a trigger. READ_REQUEST when it refuses.
bool request_trigger_mode(CameraContext& camera, bool triggered);

/// The pulse that starts a triggered frame.
void pulse_trigger_line(CameraContext& camera);

}  // namespace kxcam
