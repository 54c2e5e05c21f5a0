// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace kxsim {

/// Linear light 0..1 of an sRGB value 0..1.
inline float linear_from_srgb(float value) {
  return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

/// Linear light 0..65535 of each sRGB sample 0..`largest_sample`.
inline std::vector<uint16_t> make_linear_table(int largest_sample) {
  std::vector<uint16_t> table(static_cast<size_t>(largest_sample) + 1);
  for (size_t i = 0; i < table.size(); ++i) {
    const float value = static_cast<float>(i) / static_cast<float>(largest_sample);
    table[i] = static_cast<uint16_t>(std::lround(linear_from_srgb(value) * 65535.0F));
  }
  return table;
}

}  // namespace kxsim
