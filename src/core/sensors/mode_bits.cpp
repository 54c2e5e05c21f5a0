// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/mode_bits.h"

#include "core/registry/contexts.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

uint32_t with_bits(uint32_t value, uint32_t bits, bool on) {
  return on ? value | bits : value & ~bits;
}

}  // namespace

std::optional<uint32_t> read_mode_bits(CameraContext& camera, uint32_t reg) {
  if (find_device(camera) == nullptr) return std::nullopt;
  const std::optional<uint32_t> value = sccb_read(camera, reg);
  if (!value) set_last_error(KXCAM_ERROR_NOT_SUPPORTED);
  return value;
}

bool switch_mode_bits(CameraContext& camera, uint32_t reg, uint32_t bits, bool on) {
  const std::optional<uint32_t> present = read_mode_bits(camera, reg);
  if (present) sccb_write(camera, reg, with_bits(*present, bits, on));
  return present.has_value();
}

bool switch_polarity_bit(CameraContext& camera, uint32_t reg, uint32_t bit, bool on) {
  const std::optional<uint32_t> present = read_mode_bits(camera, reg);
  return present && sccb_write(camera, reg, with_bits(*present, bit, on));
}

}  // namespace kxcam
