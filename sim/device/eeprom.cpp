// SPDX-License-Identifier: Apache-2.0
#include "device/eeprom.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>

namespace kxsim {

Eeprom::Eeprom(std::string_view serial_number) : bytes_(kSize, 0xFF) {
  std::string serial(serial_number.substr(0, kSerialNumberLength));
  serial.resize(kSerialNumberLength, ' ');
  std::ranges::copy(serial, bytes_.begin() + kSerialNumber);
}

void Eeprom::set_user_name(std::string_view name) {
  name = name.substr(0, kUserNameMaximum);
  bytes_[kUserNameLength] = static_cast<uint8_t>(name.size());
  std::ranges::copy(name, bytes_.begin() + kUserName);
}

void Eeprom::back_with(const std::filesystem::path& file) {
  if (std::filesystem::exists(file)) {
    // A device may have no end.
    std::ifstream in;
    if (std::filesystem::is_regular_file(file)) in.open(file, std::ios::binary);
    std::vector<uint8_t> content(kSize);
    in.read(reinterpret_cast<char*>(content.data()), kSize);
    if (!in || in.peek() != std::ifstream::traits_type::eof()) {
      throw std::runtime_error(file.string() + ": not an EEPROM image of 8192 bytes");
    }
    bytes_ = std::move(content);
  } else {
    std::ofstream out(file, std::ios::binary);
    std::ranges::copy(bytes_, std::ostreambuf_iterator<char>(out));
    if (!out.flush()) throw std::runtime_error(file.string() + ": cannot be written");
  }
  file_ = file;
}

std::optional<uint8_t> Eeprom::read(uint16_t address) const {
  if (address >= kSize) return std::nullopt;
  return bytes_[address];
}

bool Eeprom::write(uint16_t address, uint8_t byte) {
  if (address >= kSize || write_protected_) return false;
  if (writes_left_ && (*writes_left_)-- == 0) {
    writes_left_ = 0;
    return false;
  }
  program(address, byte);
  return true;
}

void Eeprom::program(uint16_t address, uint8_t byte) {
  bytes_.at(address) = byte;
  save(address);
}

void Eeprom::save(uint16_t address) const {
  if (file_.empty()) return;
  std::fstream file(file_, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(address);
  file.put(static_cast<char>(bytes_[address]));
}

}  // namespace kxsim
