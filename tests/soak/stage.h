// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "call_watch.h"
#include "gate.h"
#include "soak_camera.h"
#include "violations.h"

namespace kxcam::soak {

/// Events by name. Thread-safe.
class EventCount {
 public:
  void add(const std::string& event) {
    const std::lock_guard lock(mutex_);
    ++counts_[event];
  }
  std::map<std::string, uint64_t> all() const {
    const std::lock_guard lock(mutex_);
    return counts_;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, uint64_t> counts_;
};

/// What all threads of a run share.
struct Stage {
  explicit Stage(int slowness) : watch(slowness) {}

  CallWatch watch;
  Violations violations;
  EventCount faults;
  Gate gate;
  std::atomic<bool> ending = false;
  std::vector<std::unique_ptr<SoakCamera>> cameras;
  /// The camera that is open at an index of the library; changes only while the gate is closed.
  std::vector<SoakCamera*> at_index;
};

}  // namespace kxcam::soak
