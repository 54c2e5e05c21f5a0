// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/registers.h"

#include "core/control/trigger.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr int kTriggerLine = 0x08;

uint32_t with_bits(uint32_t value, uint32_t bits, bool on) {
  return on ? value | bits : value & ~bits;
}

}  // namespace

bool sccb_write_all(CameraContext& camera, std::initializer_list<RegisterWrite> writes) {
  bool all_written = true;
  for (const RegisterWrite& write : writes) all_written &= sccb_write(camera, write.reg, write.value);
  return all_written;
}

std::optional<int32_t> sccb_read_pair(CameraContext& camera, uint32_t high_reg, uint32_t low_reg) {
  const std::optional<uint32_t> high = sccb_read(camera, high_reg);
  const std::optional<uint32_t> low = sccb_read(camera, low_reg);
  if (!high || !low) return std::nullopt;
  return static_cast<int32_t>(*high << 8 | *low);
}

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

bool request_trigger_mode(CameraContext& camera, bool triggered) {
  return ask_bridge(camera, bridge::kTriggerMode, 0, triggered ? 1 : 0).has_value();
}

void pulse_trigger_line(CameraContext& camera) {
  set_gpio(camera, kTriggerLine, kTriggerLine);
}

}  // namespace kxcam
