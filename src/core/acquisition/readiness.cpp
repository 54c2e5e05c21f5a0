// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/readiness.h"

#include <cerrno>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace kxcam {

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
