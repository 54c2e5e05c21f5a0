// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kxsim {

/// A decoded picture: rows from the top, three linear samples (red, green, blue) a pixel, 65535 is white.
struct LinearPicture {
  int width = 0;
  int height = 0;
  std::vector<uint16_t> samples;
};

/// The largest picture that is read: twice the largest sensor.
inline constexpr int64_t kMostPicturePixels = 40'000'000;
inline constexpr int64_t kLargestPictureSide = 32767;

/// Whether `file` starts as a binary PGM or PPM does.
bool is_netpbm(std::span<const uint8_t> file);

/// Reads a binary PGM (P5) or PPM (P6) of 8 or 16 bits a sample. Throws std::runtime_error saying what
/// is wrong with the file.
LinearPicture read_netpbm(std::span<const uint8_t> file);

}  // namespace kxsim
