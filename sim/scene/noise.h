// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace kxsim {

/// A well-mixed 64-bit value that depends on every one of `counters` and on nothing else, so that any
/// frame, row or pixel has its own random value without a generator to carry along.
uint64_t random_bits(std::initializer_list<uint64_t> counters);

/// A standard normal value, made by integer arithmetic only: the same on every machine.
float random_normal(std::initializer_list<uint64_t> counters);

/// The longest stretch that `noise_at` gives.
inline constexpr size_t kNoiseStretch = 2048;

/// kNoiseStretch standard normal values, cut at a place that follows from `position` out of a table
/// that is made once: drawing millions of values a frame would be too slow.
std::span<const float, kNoiseStretch> noise_at(uint64_t position);

}  // namespace kxsim
