// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/identity.h"

#include <algorithm>

#include "core/control/registers.h"
#include "core/registry/camera_context.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr int kUserDataRoom = 63;

void terminate(char* buffer, int length) {
  if (length != kSerialNumberLength) buffer[kSerialNumberLength] = '\0';
}

/// Up to the first byte that fails.
bool read_text(CameraContext& camera, uint32_t address, char* buffer, int length) {
  for (int i = 0; i < length; ++i) {
    const auto byte = eeprom_read(camera, address + static_cast<uint32_t>(i));
    if (!byte) return false;
    buffer[i] = static_cast<char>(*byte);
  }
  return true;
}

bool write_text(CameraContext& camera, uint32_t address, const char* buffer, int length) {
  for (int i = 0; i < length; ++i) {
    if (!eeprom_write(camera, address + static_cast<uint32_t>(i), static_cast<uint8_t>(buffer[i])))
      return false;
  }
  return true;
}

}  // namespace

bool has_room_for_serial(int length) {
  return length >= kSerialNumberLength;
}

bool get_serialnumber(const CameraContext& camera, char* buffer, int length) {
  if (!has_room_for_serial(length)) return fail(KXCAM_ERROR_ARGUMENT);
  std::copy_n(camera.parameter.serial_number.begin(), kSerialNumberLength, buffer);
  terminate(buffer, length);
  return true;
}

bool read_serialnumber(CameraContext& camera, char* buffer, int length) {
  if (!has_room_for_serial(length)) return fail(KXCAM_ERROR_ARGUMENT);
  for (int i = 0; i < kSerialNumberLength; ++i) {
    const auto byte = eeprom_read(camera, kSerialAddress + static_cast<uint32_t>(i));
    buffer[i] = static_cast<char>(byte.value_or(0));
    if (!byte) return false;
  }
  terminate(buffer, length);
  return true;
}

bool writer_serialnumber(CameraContext& camera, const char* buffer, int length) {
  if (length != kSerialNumberLength) return fail(KXCAM_ERROR_ARGUMENT);
  return write_text(camera, kSerialAddress, buffer, length);
}

bool is_user_data_length(int length) {
  return length <= kUserDataRoom;
}

bool read_user_data(CameraContext& camera, char* buffer, int length) {
  if (!is_user_data_length(length)) return fail(KXCAM_ERROR_ARGUMENT);
  return read_text(camera, kUserDataAddress, buffer, length);
}

bool write_user_data(CameraContext& camera, const char* buffer, int length) {
  if (!is_user_data_length(length)) return fail(KXCAM_ERROR_ARGUMENT);
  return write_text(camera, kUserDataAddress, buffer, length);
}

}  // namespace kxcam
