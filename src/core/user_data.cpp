// SPDX-License-Identifier: Apache-2.0
#include "core/user_data.h"

#include "core/contexts.h"
#include "core/eeprom_map.h"
#include "core/last_error.h"
#include "usb/control_channel.h"

namespace kxcam {

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
