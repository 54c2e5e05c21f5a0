// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

namespace kxsim {

/// The bridge's memory between a sensor, which sends its frame at a steady rate, and a host that takes it
/// when it asks for it. What comes while the memory is full is lost. Counts bytes of one frame; "kept" ones
/// are those that are not lost. Not thread-safe.
class SensorFifo {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Depth 0: no limit, and no steady rate either.
  explicit SensorFifo(size_t depth) : depth_(depth) {}

  bool limited() const { return depth_ > 0; }
  /// A frame of that size begins, and takes so long.
  void begin(Time start, size_t bytes, std::chrono::nanoseconds duration);

  /// Kept bytes that have come by then.
  size_t kept(Time now) const;
  /// When that many have.
  Time when(size_t kept) const;
  /// Until `now` the host has asked for nothing but the first `taken` bytes. Returns how many bytes are lost
  /// behind byte `taken` + depth of those kept.
  size_t overflow(Time now, size_t taken);
  /// The host has just taken all that there is. The sensor waits for a simulator that is late.
  void taken_all(Time now, size_t taken);

  size_t depth() const { return depth_; }

 private:
  std::chrono::nanoseconds duration_of(size_t bytes) const;

  size_t depth_;
  Time start_;
  size_t bytes_ = 0;
  std::chrono::nanoseconds duration_{0};
  size_t lost_ = 0;
};

}  // namespace kxsim
