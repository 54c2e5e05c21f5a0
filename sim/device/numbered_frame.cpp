// SPDX-License-Identifier: Apache-2.0
#include "device/numbered_frame.h"

#include <algorithm>
#include <cstring>

namespace kxsim {

void fill_numbered_frame(const FrameRequest& request, std::span<uint8_t> out) {
  const auto number = static_cast<uint32_t>(request.number);
  const uint32_t offset = number * 0x9E3779B1U;
  uint32_t word = number;
  for (uint32_t i = 0; !out.empty(); word = (++i + offset) * 0x85EBCA6BU) {
    const size_t length = std::min(out.size(), sizeof word);
    std::memcpy(out.data(), &word, length);
    out = out.subspan(length);
  }
}

}  // namespace kxsim
