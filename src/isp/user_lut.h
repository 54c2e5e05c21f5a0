// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kxcam {

/// The 8-bit level of every 12-bit sample.
using UserLut = std::array<uint8_t, 4096>;

/// `in`: samples of two bytes in little-endian order, the upper four bits of which do not count; `out`: as
/// many levels.
void reduce_to_8_bits(const uint8_t* in, size_t samples, const UserLut& lut, uint8_t* out);

}  // namespace kxcam
