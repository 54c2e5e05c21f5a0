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

}  // namespace kxcam
