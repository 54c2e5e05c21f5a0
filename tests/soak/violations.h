// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace kxcam::soak {

/// What must never happen and did; printed at once. Thread-safe.
class Violations {
 public:
  void add(const std::string& what);
  uint64_t count() const { return count_; }

 private:
  std::atomic<uint64_t> count_ = 0;
};

}  // namespace kxcam::soak
