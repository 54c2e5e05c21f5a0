// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

namespace kxcam::soak {

/// The smallest frame that holds what is written into it, in bytes. A row must have kLongestMark pixels.
inline constexpr size_t kSmallestFrame = 4096;
inline constexpr int kLongestMark = 32;

/// Makes the frame with that number: a mark with number, size and check sum in the first row, the number once
/// more at the end of the last one, and one level in between that follows from the number. A mixture of two
/// frames has two levels or two numbers.
void write_numbered_frame(uint32_t camera, uint64_t number, std::span<uint8_t> out);

/// The number of a raw frame of that camera, or what is wrong with it.
std::variant<uint64_t, std::string> read_numbered_frame(uint32_t camera, std::span<const uint8_t> frame);

struct PictureShape {
  size_t channels = 1;  ///< bytes per pixel; 4: the fourth is not looked at
  size_t marked = 0;    ///< pixels that the marks and the borders may colour differently
};

/// Whether a picture that the pipeline made of one numbered frame has one colour, as such a picture must
/// however it is turned: every step treats equal neighbours equally.
bool is_plain(std::span<const uint8_t> picture, const PictureShape& shape);

}  // namespace kxcam::soak
