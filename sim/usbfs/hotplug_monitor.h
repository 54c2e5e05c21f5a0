// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace kxsim {

struct HotplugEvent {
  std::string action;  ///< "add" or "remove"
  std::string system_name;
  std::string node_path;
};

/// What udev's monitor socket is to a program: a descriptor that polls readable while events wait.
/// Thread-safe.
class HotplugMonitor {
 public:
  HotplugMonitor();
  ~HotplugMonitor();
  HotplugMonitor(const HotplugMonitor&) = delete;
  HotplugMonitor& operator=(const HotplugMonitor&) = delete;

  int descriptor() const { return descriptor_; }

  void post(HotplugEvent event);
  std::optional<HotplugEvent> next();

 private:
  const int descriptor_;
  std::mutex mutex_;
  std::deque<HotplugEvent> events_;
};

}  // namespace kxsim
