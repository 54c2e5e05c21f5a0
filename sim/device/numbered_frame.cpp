// SPDX-License-Identifier: Apache-2.0
#include "device/numbered_frame.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace kxsim {

void fill_numbered_frame(const FrameRequest& request, std::span<uint8_t> out) {
  const auto number = static_cast<uint32_t>(request.number);
  uint32_t place = number * 0x9E3779B1U;
  std::array<uint32_t, 1024> words;
  for (size_t done = 0; done < out.size();) {
    for (uint32_t& word : words) word = place++ * 0x85EBCA6BU;
    if (done == 0) words[0] = number;
    const size_t length = std::min(out.size() - done, sizeof words);
    std::memcpy(out.data() + done, words.data(), length);
    done += length;
  }
}

}  // namespace kxsim
