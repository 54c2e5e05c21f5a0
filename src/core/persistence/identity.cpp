// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/identity.h"

#include <algorithm>

#include "core/persistence/eeprom.h"
#include "core/registry/contexts.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// Codes 1, 2, 3.
ContextRef find_camera_if_room(int camera, int length) {
  return find_camera_if(camera, length >= kSerialNumberLength);
}

void terminate(char* buffer, int length) {
  if (length != kSerialNumberLength) buffer[kSerialNumberLength] = '\0';
}

}  // namespace

bool get_serialnumber(int camera, char* buffer, int length) {
  const ContextRef context = find_camera_if_room(camera, length);
  if (context == nullptr) return false;
  const ReadLock reading(context->context_lock);
  std::copy_n(context->parameter.serial_number.begin(), kSerialNumberLength, buffer);
  terminate(buffer, length);
  return true;
}

bool read_serialnumber(int camera, char* buffer, int length) {
  if (find_camera_if_room(camera, length) == nullptr) return false;
  for (int i = 0; i < kSerialNumberLength; ++i) {
    uint8_t byte = 0;
    const bool read = eeprom_read(camera, 0, kSerialAddress + static_cast<uint32_t>(i), &byte, 0);
    buffer[i] = static_cast<char>(byte);
    if (!read) return false;
  }
  terminate(buffer, length);
  return true;
}

bool writer_serialnumber(int camera, const char* buffer, int length) {
  if (!check_index(camera)) return false;
  if (length != kSerialNumberLength) return fail(KXCAM_ERROR_ARGUMENT);
  for (int i = 0; i < kSerialNumberLength; ++i) {
    const uint32_t address = kSerialAddress + static_cast<uint32_t>(i);
    if (!eeprom_write(camera, 0, address, static_cast<uint8_t>(buffer[i]), 0)) return false;
  }
  return true;
}

namespace {

constexpr int kRoom = 63;

bool check_arguments(int camera, int length) {
  return check_index(camera) && (length <= kRoom || fail(KXCAM_ERROR_ARGUMENT));
}

uint32_t address_of(int i) {
  return kUserDataAddress + static_cast<uint32_t>(i);
}

}  // namespace

bool read_user_data(int camera, char* buffer, int length) {
  if (!check_arguments(camera, length)) return false;
  for (int i = 0; i < length; ++i) {
    uint8_t byte = 0;
    if (!eeprom_read(camera, 0, address_of(i), &byte, 0)) return false;
    buffer[i] = static_cast<char>(byte);
  }
  return true;
}

bool write_user_data(int camera, const char* buffer, int length) {
  if (!check_arguments(camera, length)) return false;
  for (int i = 0; i < length; ++i) {
    if (!eeprom_write(camera, 0, address_of(i), static_cast<uint8_t>(buffer[i]), 0)) return false;
  }
  return true;
}

}  // namespace kxcam
