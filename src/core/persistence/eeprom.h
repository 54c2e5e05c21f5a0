// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// Where the blocks of a camera's EEPROM begin; values of two bytes are big-endian.
enum EepromAddress : uint16_t {
  kSerialAddress = 0x1D00,      ///< 12 characters
  kMatrixAddress = 0x1D20,      ///< 9 words: colour matrix
  kNameLengthAddress = 0x1D50,  ///< 1 byte: length of the user's name, 1..30 when there is one
  kNameAddress = 0x1D51,
  kUserDataAddress = 0x1D70,   ///< 63 bytes
  kDeadPixelAddress = 0x1E00,  ///< up to 127 words: count, then x and y of each
  kParameterAddress = 0x1F00,  ///< 4 blocks of 64 bytes: parameter sets
};

/// Reads values of a block in the EEPROM of an open camera, one cell a request. Values of two bytes are
/// big-endian.
class EepromReader {
 public:
  EepromReader(int camera, uint32_t block) : camera_(camera), block_(block) {}

  /// A cell that cannot be read counts as 0.
  uint8_t byte(uint32_t offset);
  uint16_t word(uint32_t offset);

  /// Whether every cell so far could be read.
  bool ok() const { return ok_; }

 private:
  int camera_;
  uint32_t block_;
  bool ok_ = true;
};

/// The same for writing. A cell that does not take its byte does not keep the next ones from being written.
class EepromWriter {
 public:
  EepromWriter(int camera, uint32_t block) : camera_(camera), block_(block) {}

  void byte(uint32_t offset, uint8_t value);
  void word(uint32_t offset, uint16_t value);

  /// Whether every cell so far took its byte.
  bool ok() const { return ok_; }

 private:
  int camera_;
  uint32_t block_;
  bool ok_ = true;
};

}  // namespace kxcam
