// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>

namespace kxcam {

/// Sleeps for that many milliseconds; not at all for 0 or less.
inline void sysdelay(int ms) {
  if (ms <= 0) return;
  const timespec time{.tv_sec = ms / 1000, .tv_nsec = ms % 1000 * 1'000'000L};
  nanosleep(&time, nullptr);
}

inline constexpr int64_t kNsPerMs = 1'000'000;

/// Nanoseconds of the monotonic clock.
inline int64_t monotonic_ns() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 * kNsPerMs + now.tv_nsec;
}

/// Milliseconds of the monotonic clock.
inline uint64_t GetTickCount() {
  return static_cast<uint64_t>(monotonic_ns() / kNsPerMs);
}

}  // namespace kxcam
