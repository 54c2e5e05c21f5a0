// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/eeprom.h"

#include "usb/control_channel.h"

namespace kxcam {

uint8_t EepromReader::byte(uint32_t offset) {
  uint8_t value = 0;
  ok_ = eeprom_read(camera_, 0, block_ + offset, &value, 0) && ok_;
  return value;
}

uint16_t EepromReader::word(uint32_t offset) {
  const uint8_t high = byte(offset);
  const uint8_t low = byte(offset + 1);
  return static_cast<uint16_t>(high << 8 | low);
}

void EepromWriter::byte(uint32_t offset, uint8_t value) {
  ok_ = eeprom_write(camera_, 0, block_ + offset, value, 0) && ok_;
}

void EepromWriter::word(uint32_t offset, uint16_t value) {
  byte(offset, static_cast<uint8_t>(value >> 8));
  byte(offset + 1, static_cast<uint8_t>(value));
}

}  // namespace kxcam
