// SPDX-License-Identifier: Apache-2.0
#include "scene/noise.h"

#include <array>

namespace kxsim {
namespace {

constexpr size_t kTableSize = size_t{1} << 16;

constexpr uint64_t mix(uint64_t value) {
  value += 0x9E3779B97F4A7C15;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
  return value ^ (value >> 31);
}

/// The sum of twelve uniform values has a variance of one and is normal out to about three sigma.
float normal_from(uint64_t state) {
  int64_t sum = 0;
  for (int word = 0; word < 3; ++word) {
    state = mix(state);
    for (int shift = 0; shift < 64; shift += 16) sum += static_cast<int64_t>((state >> shift) & 0xFFFF);
  }
  return static_cast<float>(sum - 6 * 0xFFFF) / 65536.0F;
}

/// An array and no vector: cameras may still make frames while the program's static objects are destroyed.
using Table = std::array<float, kTableSize>;

Table make_table() {
  Table table;
  for (size_t i = 0; i < kTableSize; ++i) table[i] = normal_from(mix(i));
  return table;
}

}  // namespace

uint64_t random_bits(std::initializer_list<uint64_t> counters) {
  uint64_t state = 0;
  for (const uint64_t counter : counters) state = mix(state ^ counter);
  return state;
}

float random_normal(std::initializer_list<uint64_t> counters) {
  return normal_from(random_bits(counters));
}

std::span<const float, kNoiseStretch> noise_at(uint64_t position) {
  static const Table table = make_table();
  const size_t start = position % (kTableSize - kNoiseStretch + 1);
  return std::span<const float, kNoiseStretch>(&table[start], kNoiseStretch);
}

}  // namespace kxsim
