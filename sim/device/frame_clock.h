// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace kxsim {

/// Says when the sensor has the next frame, in free run or one burst per trigger pulse. In free run the
/// bridge holds the latest frame until the next one: a host that is late by less than a period loses
/// nothing. Frames of a burst wait for the host. Not thread-safe.
class FrameClock {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// From one frame to the next; 0 = a frame whenever the host reads.
  explicit FrameClock(std::chrono::nanoseconds period) : period_(period) {}

  /// Holds from the next frame on.
  void set_period(std::chrono::nanoseconds period, Time now);

  void stop() { mode_ = Mode::kStopped; }
  void run_free(Time now);
  void wait_for_triggers();
  /// A pulse outside trigger mode does nothing.
  void pulse(Time now, uint64_t frames);

  /// When the next frame is there; nothing when none will come by itself.
  std::optional<Time> next_due() const;
  /// Takes the frame that is due.
  void take(Time now);
  /// Frames that came and went because nobody took them.
  uint64_t missed(Time now) const { return missed_ + passed_by(now); }
  /// In free run at a set rate: a newer frame is there than the one taken last.
  bool newer_frame(Time now) const;

 private:
  enum class Mode { kStopped, kFree, kTriggered };

  bool timed() const { return period_ > std::chrono::nanoseconds::zero(); }
  uint64_t tick(Time now) const;
  uint64_t passed_by(Time now) const;

  std::chrono::nanoseconds period_;
  Mode mode_ = Mode::kStopped;
  Time origin_;              // of tick 0
  uint64_t next_ = 0;        // the first tick not yet taken
  uint64_t burst_left_ = 0;  // triggered frames not yet taken
  uint64_t missed_ = 0;
};

}  // namespace kxsim
