// SPDX-License-Identifier: Apache-2.0
#include "device/sensor_fifo.h"

#include <algorithm>

namespace kxsim {

void SensorFifo::begin(Time start, size_t bytes, std::chrono::nanoseconds duration) {
  start_ = start;
  bytes_ = bytes;
  duration_ = duration;
  lost_ = 0;
}

std::chrono::nanoseconds SensorFifo::duration_of(size_t bytes) const {
  const double part = bytes_ == 0 ? 1 : static_cast<double>(bytes) / static_cast<double>(bytes_);
  return std::chrono::nanoseconds(static_cast<int64_t>(part * static_cast<double>(duration_.count())));
}

size_t SensorFifo::kept(Time now) const {
  if (now >= start_ + duration_) return bytes_ - lost_;
  const double part = std::chrono::duration<double>(now - start_) / std::chrono::duration<double>(duration_);
  const auto come = static_cast<size_t>(std::max(part, 0.0) * static_cast<double>(bytes_));
  return std::min(come, bytes_) - std::min(lost_, come);
}

SensorFifo::Time SensorFifo::when(size_t kept) const {
  // Rounded up, so that they have come by then.
  return start_ + duration_of(std::min(kept + lost_ + 1, bytes_));
}

size_t SensorFifo::overflow(Time now, size_t taken) {
  if (duration_ == std::chrono::nanoseconds::zero()) return 0;
  const size_t here = kept(now) - std::min(taken, kept(now));
  const size_t too_many = here > depth_ ? here - depth_ : 0;
  lost_ += too_many;
  return too_many;
}

void SensorFifo::taken_all(Time now, size_t taken) {
  start_ = now - duration_of(taken + lost_);
}

}  // namespace kxsim
