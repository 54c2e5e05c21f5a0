// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

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
