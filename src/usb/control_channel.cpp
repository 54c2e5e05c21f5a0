// SPDX-License-Identifier: Apache-2.0
#include "usb/control_channel.h"

#include <mutex>

#include "core/contexts.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "core/sensor_family.h"
#include "core/timing.h"
#include "usb/kxusb.h"

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

bool camera_write(OpenCamera& camera, uint8_t request, uint32_t index, uint32_t value) {
  const ReadLock reading(camera->context_lock);
  const std::lock_guard registers(camera->aux_lock[1]);
  return write_without_data(camera.handle.get(), request, index, value);
}

bool camera_read(OpenCamera& camera, uint8_t request, uint32_t index, uint32_t value, ShortReply& reply,
                 long& length) {
  const ReadLock reading(camera->context_lock);
  const std::lock_guard registers(camera->aux_lock[1]);
  return read_short(camera.handle.get(), request, static_cast<uint16_t>(index), static_cast<uint16_t>(value),
                    reply, length) ||
         fail(KXCAM_ERROR_READ_REQUEST);
}

bool read_register(OpenCamera& camera, uint8_t request, uint32_t reg, uint32_t* value) {
  ShortReply reply;
  long length = 0;
  if (!camera_read(camera, request, reg, 0, reply, length)) return false;
  *value = length == 2 ? uint32_t{reply[0]} << 8 | reply[1] : reply[0];
  return true;
}

/// First byte of the reply, or -1.
int read_byte(OpenCamera& camera, uint8_t request, uint32_t index, uint32_t value) {
  ShortReply reply;
  long length = 0;
  return camera_read(camera, request, index, value, reply, length) ? reply[0] : -1;
}

bool is_reserved_for_strobe(const CameraContext& context, int pins) {
  return (context.feature_bits & 0x1) != 0 && (pins & kStrobeLine) != 0 &&
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

bool sccb_write(int camera, int, uint32_t reg, uint32_t value, int) {
  OpenCamera open = find_open_camera(camera);
  return open && camera_write(open, kSensorWrite, reg, value);
}

bool sccb_read(int camera, int, uint32_t reg, uint32_t* value, int) {
  OpenCamera open = find_open_camera(camera);
  return open && read_register(open, kSensorRead, reg, value);
}

bool isp_write(int camera, int, uint32_t reg, uint32_t value, int) {
  OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  if (open->firmware_version < kFirmwareWithIspRegisters) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  return !open->family.isp_registers || camera_write(open, kIspWrite, reg, value);
}

bool isp_read(int camera, int, uint32_t reg, uint32_t* value, int) {
  OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  if (open->firmware_version < kFirmwareWithIspRegisters || !open->family.isp_registers) {
    return fail(KXCAM_ERROR_NOT_SUPPORTED);
  }
  return read_register(open, kIspRead, reg, value);
}

bool param_write(int camera, uint32_t index, uint32_t value) {
  OpenCamera open = find_open_camera(camera);
  return open && camera_write(open, kParameterWrite, index, value);
}

bool eeprom_read(int camera, int, uint32_t address, uint8_t* byte, int) {
  OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  const int value = read_byte(open, kEepromRead, address, 0);
  if (value < 0) return false;
  *byte = static_cast<uint8_t>(value);
  return true;
}

bool eeprom_write(int camera, int, uint32_t address, uint8_t byte, int) {
  OpenCamera open = find_open_camera(camera);
  if (!open || !camera_write(open, kEepromWrite, address, byte)) return false;
  sysdelay(kEepromWriteCycleMs);
  return true;
}

int get_gpio(int camera) {
  OpenCamera open = find_open_camera(camera);
  return open ? read_byte(open, kGetGpio, 0, 0) : -1;
}

int set_gpio(int camera, int pins, int level) {
  OpenCamera open = find_open_camera(camera);
  if (!open) return -1;
  if (is_reserved_for_strobe(*open.context, pins)) {
    set_last_error(KXCAM_ERROR_ARGUMENT);
    return -1;
  }
  return read_byte(open, kSetGpio, static_cast<uint32_t>(pins), static_cast<uint32_t>(level));
}

}  // namespace kxcam
