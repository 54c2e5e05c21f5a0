// SPDX-License-Identifier: Apache-2.0
#include "numbered_frame.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vm {
namespace {

constexpr uint32_t kNumberFactor = 0x9E3779B1;
constexpr uint32_t kWordFactor = 0x85EBCA6B;

uint32_t word_at(std::span<const uint8_t> frame, size_t place) {
  uint32_t word = 0;
  std::memcpy(&word, &frame[place], sizeof word);
  return word;
}

/// What a factor is to be multiplied with for 1, modulo 2^32.
constexpr uint32_t inverse(uint32_t factor) {
  uint32_t x = factor;
  for (int i = 0; i < 5; ++i) x *= 2 - factor * x;
  return x;
}
static_assert(inverse(kWordFactor) * kWordFactor == 1);

struct Origin {
  uint32_t frame;
  size_t place;  ///< in bytes
};

/// Where a word was sent, if it lies in one of the first frames.
std::optional<Origin> origin_of(uint32_t word, size_t frame_size) {
  constexpr uint32_t kFrames = 1000;
  const uint32_t sum = word * inverse(kWordFactor);
  for (uint32_t n = 0; n < kFrames; ++n) {
    const uint32_t i = sum - n * kNumberFactor;
    if (i < frame_size / 4) return Origin{n, size_t{i} * 4};
  }
  return std::nullopt;
}

}  // namespace

std::optional<uint32_t> read_numbered_frame(std::span<const uint8_t> frame) {
  std::array<uint32_t, 1024> words{};
  const uint32_t number = word_at(frame, 0);
  for (size_t begin = 0; begin < frame.size(); begin += sizeof words) {
    const uint32_t first = static_cast<uint32_t>(begin / sizeof number) + number * kNumberFactor;
    for (uint32_t i = 0; i < words.size(); ++i) words[i] = (first + i) * kWordFactor;
    if (begin == 0) words[0] = number;
    const auto part = frame.subspan(begin, std::min(sizeof words, frame.size() - begin));
    if (std::memcmp(part.data(), words.data(), part.size()) != 0) return std::nullopt;
  }
  return number;
}

std::string parts_of(std::span<const uint8_t> frame) {
  // Finer than the packets that frames are cut into; the first word of a frame is its number and tells
  // nothing.
  constexpr size_t kStep = 256;
  std::string text;
  std::optional<Origin> last;
  for (size_t place = 4; place + 4 <= frame.size(); place += kStep) {
    const auto origin = origin_of(word_at(frame, place), frame.size());
    const bool goes_on =
        origin && last && origin->frame == last->frame && origin->place == last->place + kStep;
    if (!goes_on && (origin || last || place == 4)) {
      text += "from " + std::to_string(place) + ": ";
      text += origin
                  ? "frame " + std::to_string(origin->frame) + " from " + std::to_string(origin->place) + "; "
                  : "nothing that was sent; ";
    }
    last = origin;
  }
  return text;
}

}  // namespace vm
