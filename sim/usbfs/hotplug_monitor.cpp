// SPDX-License-Identifier: Apache-2.0
#include "usbfs/hotplug_monitor.h"

#include <utility>

#include <sys/eventfd.h>

#include "usbfs/libc.h"

namespace kxsim {

HotplugMonitor::HotplugMonitor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE)) {}

HotplugMonitor::~HotplugMonitor() {
  if (descriptor_ >= 0) libc::close(descriptor_);
}

void HotplugMonitor::post(HotplugEvent event) {
  const std::lock_guard lock(mutex_);
  events_.push_back(std::move(event));
  eventfd_write(descriptor_, 1);
}

std::optional<HotplugEvent> HotplugMonitor::next() {
  const std::lock_guard lock(mutex_);
  eventfd_t value = 0;
  if (eventfd_read(descriptor_, &value) != 0 || events_.empty()) return std::nullopt;
  auto event = std::move(events_.front());
  events_.pop_front();
  return event;
}

}  // namespace kxsim
