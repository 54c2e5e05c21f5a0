// SPDX-License-Identifier: Apache-2.0
#include "device/frame_clock.h"

#include <algorithm>

namespace kxsim {
void FrameClock::set_period(std::chrono::nanoseconds period, Time now) {
  if (period == period_) return;
  if (mode_ == Mode::kFree) {
    missed_ += passed_by(now);
    next_ = 1;
    origin_ = now;
  }
  period_ = period;
}

void FrameClock::run_free(Time now) {
  mode_ = Mode::kFree;
  origin_ = now;
  next_ = 1;  // the first frame takes a period to expose
}

void FrameClock::wait_for_triggers() {
  mode_ = Mode::kTriggered;
  burst_left_ = 0;
}

void FrameClock::pulse(Time now, uint64_t frames) {
  if (mode_ != Mode::kTriggered) return;
  origin_ = now;
  next_ = 0;
  burst_left_ = frames;
}

std::optional<FrameClock::Time> FrameClock::next_due() const {
  if (mode_ == Mode::kStopped || (mode_ == Mode::kTriggered && burst_left_ == 0)) return std::nullopt;
  return origin_ + period_ * static_cast<int64_t>(next_);
}

uint64_t FrameClock::tick(Time now) const {
  return static_cast<uint64_t>(std::max<int64_t>(0, (now - origin_) / period_));
}

uint64_t FrameClock::passed_by(Time now) const {
  if (mode_ != Mode::kFree || !timed()) return 0;
  const auto current = tick(now);
  return current > next_ ? current - next_ : 0;
}

void FrameClock::take(Time now) {
  missed_ += passed_by(now);
  if (mode_ == Mode::kFree && timed()) next_ = std::max(next_, tick(now));
  if (mode_ == Mode::kTriggered && burst_left_ > 0) --burst_left_;
  ++next_;
}

bool FrameClock::newer_frame(Time now) const {
  return mode_ == Mode::kFree && timed() && tick(now) >= next_;
}

}  // namespace kxsim
