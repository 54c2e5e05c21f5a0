// SPDX-License-Identifier: Apache-2.0
#include "sync/condition.h"

#include <cerrno>
#include <chrono>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace kxcam {

// Not inline: fuzz targets link a clock of their own in its place.
void Condition::wait(std::unique_lock<std::mutex>& lock, int64_t deadline_ns) {
  if (deadline_ns == kNever) {
    changed_.wait(lock);
  } else {
    changed_.wait_until(lock, std::chrono::steady_clock::time_point(std::chrono::nanoseconds(deadline_ns)));
  }
}

Readiness::Readiness() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category());
}

Readiness::~Readiness() {
  close(descriptor_);
}

void Readiness::set(bool readable) {
  if (readable == readable_) return;
  readable_ = readable;
  eventfd_t count = 1;
  // Neither can fail: the count is 0 before it is written and 1 before it is read.
  if (readable) {
    eventfd_write(descriptor_, count);
  } else {
    eventfd_read(descriptor_, &count);
  }
}

}  // namespace kxcam
