// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kxcam {

/// Rows from top to bottom without padding.
struct Picture {
  int width = 0;
  int height = 0;
  int channels = 1;                  ///< 1: grey or raw, 3: R, G, B
  int bits = 8;                      ///< 8: one byte per sample; 12: two, little-endian
  std::span<const uint8_t> samples;  ///< width x height x channels x bytes_per_sample() bytes

  int bytes_per_sample() const { return bits > 8 ? 2 : 1; }
};

}  // namespace kxcam
