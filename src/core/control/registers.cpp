// SPDX-License-Identifier: Apache-2.0
#include "core/control/registers.h"

#include "core/registry/camera_context.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr int kEepromWriteCycleMs = 5;
constexpr int32_t kFirmwareWithIspRegisters = 0x8300;
constexpr int kStrobeLine = 0x80;

std::nullopt_t nothing(kxcam_error code) {
  set_last_error(code);
  return std::nullopt;
}

bool tell_bridge(const CameraContext& camera, uint8_t request, uint32_t index, uint32_t value) {
  const DeviceHandle handle = find_device(camera);
  return handle != nullptr &&
         write_short(handle.get(), request, static_cast<uint16_t>(index), static_cast<uint16_t>(value));
}

std::optional<uint32_t> read_register(const CameraContext& camera, uint8_t request, uint32_t reg) {
  const std::optional<ShortReply> reply = ask_bridge(camera, request, static_cast<uint16_t>(reg), 0);
  if (!reply) return std::nullopt;
  return reply->length == 2 ? uint32_t{(*reply)[0]} << 8 | (*reply)[1] : (*reply)[0];
}

int first_byte(const std::optional<ShortReply>& reply) {
  return reply ? (*reply)[0] : -1;
}

uint32_t with_bits(uint32_t value, uint32_t bits, bool on) {
  return on ? value | bits : value & ~bits;
}

bool is_reserved_for_strobe(const CameraContext& camera, int pins) {
  return (camera.device.feature_bits & kTriggerUnit) != 0 && (pins & kStrobeLine) != 0 &&
         (camera.parameter.isp_flags & kStrobeOff) == 0;
}

}  // namespace

DeviceHandle find_device(const CameraContext& camera) {
  DeviceHandle handle = camera.device.usb_handle.load();
  if (handle == nullptr) set_last_error(KXCAM_ERROR_NO_DEVICE);
  return handle;
}

std::optional<ShortReply> ask_bridge(const CameraContext& camera, uint8_t request, uint16_t index,
                                     uint16_t value) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return std::nullopt;
  const std::optional<ShortReply> reply = read_short(handle.get(), request, index, value);
  if (!reply) return nothing(KXCAM_ERROR_READ_REQUEST);
  return reply;
}

bool sccb_write(CameraContext& camera, uint32_t reg, uint32_t value) {
  return tell_bridge(camera, bridge::kSensorWrite, reg, value);
}

std::optional<uint32_t> sccb_read(CameraContext& camera, uint32_t reg) {
  return read_register(camera, bridge::kSensorRead, reg);
}

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

bool isp_write(CameraContext& camera, uint32_t reg, uint32_t value) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  if (camera.device.firmware_version < kFirmwareWithIspRegisters) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  return !camera.family.isp_registers ||
         write_short(handle.get(), bridge::kBridgeRegisterWrite, static_cast<uint16_t>(reg),
                     static_cast<uint16_t>(value));
}

std::optional<uint32_t> isp_read(CameraContext& camera, uint32_t reg) {
  if (find_device(camera) == nullptr) return std::nullopt;
  if (camera.device.firmware_version < kFirmwareWithIspRegisters || !camera.family.isp_registers)
    return nothing(KXCAM_ERROR_NOT_SUPPORTED);
  return read_register(camera, bridge::kBridgeRegisterRead, reg);
}

bool param_write(CameraContext& camera, uint32_t index, uint32_t value) {
  return tell_bridge(camera, bridge::kParameterWrite, index, value);
}

std::optional<uint8_t> eeprom_read(CameraContext& camera, uint32_t address) {
  const auto reply = ask_bridge(camera, bridge::kEepromRead, static_cast<uint16_t>(address), 0);
  if (!reply) return std::nullopt;
  return (*reply)[0];
}

bool eeprom_write(CameraContext& camera, uint32_t address, uint8_t byte) {
  if (!tell_bridge(camera, bridge::kEepromWrite, address, byte)) return false;
  sysdelay(kEepromWriteCycleMs);
  return true;
}

int get_gpio(CameraContext& camera) {
  return first_byte(ask_bridge(camera, bridge::kGetGpio, 0, 0));
}

int set_gpio(CameraContext& camera, int pins, int level) {
  if (find_device(camera) == nullptr) return -1;
  if (is_reserved_for_strobe(camera, pins)) {
    set_last_error(KXCAM_ERROR_ARGUMENT);
    return -1;
  }
  return first_byte(
      ask_bridge(camera, bridge::kSetGpio, static_cast<uint16_t>(pins), static_cast<uint16_t>(level)));
}

}  // namespace kxcam
