// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>

namespace kxcam {

/// Truncates towards zero; values beyond the range of `Integer` saturate and NaN gives 0.
template <std::integral Integer>
requires(sizeof(Integer) <= sizeof(int32_t)) constexpr Integer saturating_cast(double value) {
  using Limits = std::numeric_limits<Integer>;
  if (value != value) return 0;
  if (value <= Limits::min()) return Limits::min();
  if (value >= Limits::max()) return Limits::max();
  return static_cast<Integer>(value);
}

}  // namespace kxcam
