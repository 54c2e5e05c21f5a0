// SPDX-License-Identifier: Apache-2.0
#include "numbered_frame.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vm {

std::optional<uint32_t> read_numbered_frame(std::span<const uint8_t> frame, size_t& wrong) {
  std::array<uint32_t, 1024> words{};
  uint32_t number = 0;
  std::memcpy(&number, frame.data(), sizeof number);
  for (size_t begin = 0; begin < frame.size(); begin += sizeof words) {
    const uint32_t first = static_cast<uint32_t>(begin / sizeof number) + number * 0x9E3779B1U;
    for (uint32_t i = 0; i < words.size(); ++i) words[i] = (first + i) * 0x85EBCA6BU;
    if (begin == 0) words[0] = number;
    const auto part = frame.subspan(begin, std::min(sizeof words, frame.size() - begin));
    if (std::memcmp(part.data(), words.data(), part.size()) != 0) {
      wrong = begin;
      return std::nullopt;
    }
  }
  return number;
}

}  // namespace vm
