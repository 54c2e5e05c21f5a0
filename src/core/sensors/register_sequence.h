// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "usb/control_channel.h"

namespace kxcam {

struct RegisterWrite {
  uint32_t reg;
  uint32_t value;
};

/// Writes sensor registers in that order, the later ones whatever becomes of the earlier; true when all were
/// written.
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

}  // namespace kxcam
