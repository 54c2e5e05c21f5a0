// SPDX-License-Identifier: Apache-2.0
#include "numbered_frame.h"

#include <algorithm>
#include <cstring>

namespace vm {

std::optional<uint32_t> read_numbered_frame(std::span<const uint8_t> frame, size_t& wrong) {
  uint32_t number = 0;
  std::memcpy(&number, frame.data(), sizeof number);
  for (size_t i = sizeof number; i < frame.size(); i += sizeof number) {
    const uint32_t word = (static_cast<uint32_t>(i / 4) + number * 0x9E3779B1U) * 0x85EBCA6BU;
    if (std::memcmp(&frame[i], &word, std::min(sizeof word, frame.size() - i)) != 0) {
      wrong = i;
      return std::nullopt;
    }
  }
  return number;
}

}  // namespace vm
