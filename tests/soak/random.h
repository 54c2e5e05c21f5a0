// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace kxcam::soak {

/// Decisions of one thread, repeatable by its seed.
class Random {
 public:
  explicit Random(uint64_t seed) : engine_(seed) {}

  /// `first`..`last`, both included.
  int between(int first, int last) { return std::uniform_int_distribution<int>(first, last)(engine_); }
  double real(double first, double last) {
    return std::uniform_real_distribution<double>(first, last)(engine_);
  }
  bool chance(int percent) { return between(1, 100) <= percent; }

  template <class Choices>
  const auto& pick(const Choices& choices) {
    return choices[static_cast<size_t>(between(0, static_cast<int>(std::size(choices)) - 1))];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace kxcam::soak
