// SPDX-License-Identifier: Apache-2.0
#include "usb/control_channel.h"

#include <mutex>

#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
#include "usb/kxusb.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr uint8_t kVendorIn = uint8_t{LIBUSB_ENDPOINT_IN} | uint8_t{LIBUSB_REQUEST_TYPE_VENDOR};
constexpr uint8_t kVendorOut = uint8_t{LIBUSB_ENDPOINT_OUT} | uint8_t{LIBUSB_REQUEST_TYPE_VENDOR};
constexpr uint32_t kTimeoutMs = 100;
constexpr int kAttempts = 2;

enum VendorRequest : uint8_t {
  kSetGpio = 0xA4,
  kGetGpio = 0xA5,
  kSensorWrite = 0xA6,
  kSensorRead = 0xA7,
  kParameterWrite = 0xAA,
  kEepromRead = 0xB0,
  kEepromWrite = 0xB1,
  kIspWrite = 0xB6,
  kIspRead = 0xB7,
};

constexpr int kEepromWriteCycleMs = 5;
constexpr int32_t kFirmwareWithIspRegisters = 0x8300;
constexpr int kStrobeLine = 0x80;

bool transfer(libusb_device_handle* handle, uint8_t type, uint8_t request, uint16_t index, uint16_t value,
              uint8_t* data, long& length) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const int result = kxusb_control_transfer(handle, type, request, value, index, data,
                                              static_cast<uint16_t>(length), kTimeoutMs);
    if (result >= 0) {
      length = result;
      return true;
    }
  }
  return false;
}

bool write_without_data(libusb_device_handle* handle, uint8_t request, uint32_t index, uint32_t value) {
  long no_data = 0;
  return EP0Write(handle, request, static_cast<uint16_t>(index), static_cast<uint16_t>(value), nullptr,
                  no_data) ||
         fail(KXCAM_ERROR_WRITE_REQUEST);
}

bool camera_write(CameraContext& camera, uint8_t request, uint32_t index, uint32_t value) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  const ReadLock reading(camera.context_lock);
  const std::lock_guard registers(camera.aux_lock[1]);
  return write_without_data(handle.get(), request, index, value);
}

bool camera_read(CameraContext& camera, uint8_t request, uint32_t index, uint32_t value, ShortReply& reply,
                 long& length) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  const ReadLock reading(camera.context_lock);
  const std::lock_guard registers(camera.aux_lock[1]);
  return read_short(handle.get(), request, static_cast<uint16_t>(index), static_cast<uint16_t>(value), reply,
                    length) ||
         fail(KXCAM_ERROR_READ_REQUEST);
}

std::optional<uint32_t> read_register(CameraContext& camera, uint8_t request, uint32_t reg) {
  ShortReply reply;
  long length = 0;
  if (!camera_read(camera, request, reg, 0, reply, length)) return std::nullopt;
  return length == 2 ? uint32_t{reply[0]} << 8 | reply[1] : reply[0];
}

bool hand_out(std::optional<uint32_t> read, uint32_t* value) {
  if (read) *value = *read;
  return read.has_value();
}

/// First byte of the reply, or -1.
int read_byte(CameraContext& camera, uint8_t request, uint32_t index, uint32_t value) {
  ShortReply reply;
  long length = 0;
  return camera_read(camera, request, index, value, reply, length) ? reply[0] : -1;
}

bool is_reserved_for_strobe(const CameraContext& context, int pins) {
  return (context.device.feature_bits & kTriggerUnit) != 0 && (pins & kStrobeLine) != 0 &&
         (context.parameter.isp_flags & kStrobeOff) == 0;
}

}  // namespace

bool EP0Read(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
             long& length) {
  return transfer(handle, kVendorIn, request, index, value, data, length);
}

bool EP0Write(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
              long& length) {
  return transfer(handle, kVendorOut, request, index, value, data, length);
}

bool read_short(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value,
                ShortReply& reply, long& length) {
  reply.fill(0);
  length = static_cast<long>(reply.size());
  return EP0Read(handle, request, index, value, reply.data(), length);
}

bool sccb_write_raw(libusb_device_handle* handle, uint32_t reg, uint32_t value) {
  return write_without_data(handle, kSensorWrite, reg, value);
}

bool sccb_write(CameraContext& camera, uint32_t reg, uint32_t value) {
  return camera_write(camera, kSensorWrite, reg, value);
}

std::optional<uint32_t> sccb_read(CameraContext& camera, uint32_t reg) {
  return read_register(camera, kSensorRead, reg);
}

bool isp_write(CameraContext& camera, uint32_t reg, uint32_t value) {
  if (find_device(camera) == nullptr) return false;
  if (camera.device.firmware_version < kFirmwareWithIspRegisters) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  return !camera.family.isp_registers || camera_write(camera, kIspWrite, reg, value);
}

std::optional<uint32_t> isp_read(CameraContext& camera, uint32_t reg) {
  if (find_device(camera) == nullptr) return std::nullopt;
  if (camera.device.firmware_version < kFirmwareWithIspRegisters || !camera.family.isp_registers) {
    set_last_error(KXCAM_ERROR_NOT_SUPPORTED);
    return std::nullopt;
  }
  return read_register(camera, kIspRead, reg);
}

bool param_write(CameraContext& camera, uint32_t index, uint32_t value) {
  return camera_write(camera, kParameterWrite, index, value);
}

int set_gpio(CameraContext& camera, int pins, int level) {
  if (find_device(camera) == nullptr) return -1;
  if (is_reserved_for_strobe(camera, pins)) {
    set_last_error(KXCAM_ERROR_ARGUMENT);
    return -1;
  }
  return read_byte(camera, kSetGpio, static_cast<uint32_t>(pins), static_cast<uint32_t>(level));
}

bool sccb_write(int camera, int, uint32_t reg, uint32_t value, int) {
  const ContextRef context = find_camera(camera);
  return context != nullptr && sccb_write(*context, reg, value);
}

bool sccb_read(int camera, int, uint32_t reg, uint32_t* value, int) {
  const ContextRef context = find_camera(camera);
  return context != nullptr && hand_out(sccb_read(*context, reg), value);
}

bool isp_write(int camera, int, uint32_t reg, uint32_t value, int) {
  const ContextRef context = find_camera(camera);
  return context != nullptr && isp_write(*context, reg, value);
}

bool isp_read(int camera, int, uint32_t reg, uint32_t* value, int) {
  const ContextRef context = find_camera(camera);
  return context != nullptr && hand_out(isp_read(*context, reg), value);
}

bool param_write(int camera, uint32_t index, uint32_t value) {
  const ContextRef context = find_camera(camera);
  return context != nullptr && param_write(*context, index, value);
}

bool eeprom_read(int camera, int, uint32_t address, uint8_t* byte, int) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  const int value = read_byte(*context, kEepromRead, address, 0);
  if (value < 0) return false;
  *byte = static_cast<uint8_t>(value);
  return true;
}

bool eeprom_write(int camera, int, uint32_t address, uint8_t byte, int) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr || !camera_write(*context, kEepromWrite, address, byte)) return false;
  sysdelay(kEepromWriteCycleMs);
  return true;
}

int get_gpio(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : read_byte(*context, kGetGpio, 0, 0);
}

int set_gpio(int camera, int pins, int level) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : set_gpio(*context, pins, level);
}

}  // namespace kxcam
