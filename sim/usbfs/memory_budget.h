// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>

namespace kxsim {

/// The kernel's limit on the memory of pending usbfs requests, over all devices together.
class MemoryBudget {
 public:
  static constexpr size_t kKernelDefault = 16U << 20;

  void set_limit(size_t bytes) { limit_ = bytes; }
  size_t used() const { return used_; }

  bool take(size_t bytes) {
    if (used_.fetch_add(bytes) + bytes <= limit_) return true;
    give_back(bytes);
    return false;
  }
  void give_back(size_t bytes) { used_ -= bytes; }

 private:
  std::atomic<size_t> limit_{kKernelDefault};
  std::atomic<size_t> used_{0};
};

}  // namespace kxsim
