// SPDX-License-Identifier: Apache-2.0
#include "device/numbered_frame.h"

#include <algorithm>
#include <cstring>

namespace kxsim {

void fill_numbered_frame(const FrameRequest& request, std::span<uint8_t> out) {
  const auto number = static_cast<uint32_t>(request.number);
  const uint32_t offset = number * 0x9E3779B1U;
  const auto word = [&](size_t i) { return (static_cast<uint32_t>(i) + offset) * 0x85EBCA6BU; };
  const size_t words = out.size() / sizeof number;
  // A copy whose size the compiler knows is one instruction, also with a sanitizer.
  for (size_t i = 0; i < words; ++i) {
    const uint32_t next = word(i);
    std::memcpy(out.data() + i * sizeof next, &next, sizeof next);
  }
  const uint32_t last = word(words);
  std::memcpy(out.data() + words * sizeof last, &last, out.size() % sizeof last);
  std::memcpy(out.data(), &number, std::min(out.size(), sizeof number));
}

}  // namespace kxsim
