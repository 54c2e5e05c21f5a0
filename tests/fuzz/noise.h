// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "input.h"

namespace kxcam {

/// Samples of a frame: noise, changed by what is left of the input.
inline std::vector<uint8_t> noise(Input& input, size_t count) {
  std::vector<uint8_t> samples(count);
  uint32_t state = 1;
  for (uint8_t& sample : samples) {
    state = state * 1664525 + 1013904223;
    sample = static_cast<uint8_t>(input.byte() ^ state >> 24);
  }
  return samples;
}

}  // namespace kxcam
