// SPDX-License-Identifier: Apache-2.0
#include "sync/condition.h"

#include <chrono>

namespace kxcam {

// Not inline: fuzz targets link a clock of their own in its place.
void Condition::wait(std::unique_lock<std::mutex>& lock, int64_t deadline_ns) {
  if (deadline_ns == kNever) {
    changed_.wait(lock);
  } else {
    changed_.wait_until(lock, std::chrono::steady_clock::time_point(std::chrono::nanoseconds(deadline_ns)));
  }
}

}  // namespace kxcam
