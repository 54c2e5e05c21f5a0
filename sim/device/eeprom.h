// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace kxsim {

/// The camera's 8 KiB EEPROM. Multi-byte values in it are big-endian.
class Eeprom {
 public:
  static constexpr size_t kSize = 0x2000;
  static constexpr uint16_t kSerialNumber = 0x1D00;
  static constexpr size_t kSerialNumberLength = 12;
  static constexpr uint16_t kUserNameLength = 0x1D50;
  static constexpr uint16_t kUserName = 0x1D51;
  static constexpr size_t kUserNameMaximum = 30;

  /// Erased but for the serial number, padded with blanks to its length.
  explicit Eeprom(std::string_view serial_number);

  void set_user_name(std::string_view name);

  /// Takes the content of `file` when there is one and keeps the file up to date from now on. Throws
  /// std::runtime_error when the file cannot be used.
  void back_with(const std::filesystem::path& file);

  void write_protect(bool on) { write_protected_ = on; }
  /// The cells wear out: after `writes` more bytes every write fails.
  void die_after(uint64_t writes) { writes_left_ = writes; }
  void revive() { writes_left_.reset(); }

  /// Nothing when there is no such cell.
  std::optional<uint8_t> read(uint16_t address) const;
  /// False when the cell does not exist or does not take the byte.
  bool write(uint16_t address, uint8_t byte);

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  /// Changes a cell past all protection, as a programmer clipped to the chip would.
  void program(uint16_t address, uint8_t byte);

 private:
  void save(uint16_t address) const;

  std::vector<uint8_t> bytes_;
  std::filesystem::path file_;
  bool write_protected_ = false;
  std::optional<uint64_t> writes_left_;
};

}  // namespace kxsim
