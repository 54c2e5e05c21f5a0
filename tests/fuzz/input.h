// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kxcam {

/// Takes values from the front of a fuzz input; zeros when it is used up.
class Input {
 public:
  Input() = default;
  explicit Input(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  bool empty() const { return bytes_.empty(); }

  uint8_t byte() { return empty() ? uint8_t{0} : take(1).front(); }
  int word() {
    const int low = byte();
    return low | byte() << 8;
  }
  int32_t int32() {
    const auto low = static_cast<uint32_t>(word());
    return static_cast<int32_t>(low | static_cast<uint32_t>(word()) << 16);
  }
  double real() {
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits = bits << 8 | byte();
    return std::bit_cast<double>(bits);
  }

  /// The next `count` bytes, or as many as there are.
  std::span<const uint8_t> take(size_t count) {
    const auto taken = bytes_.first(std::min(count, bytes_.size()));
    bytes_ = bytes_.subspan(taken.size());
    return taken;
  }
  std::span<const uint8_t> rest() { return take(bytes_.size()); }

 private:
  std::span<const uint8_t> bytes_;
};

}  // namespace kxcam
