// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace kxcam {

/// A mutex that is given to those who wait for it in the order in which they came. For locks that are held
/// long and taken again at once: a plain mutex would go to the same thread time after time.
class FairMutex {
 public:
  void lock() {
    std::unique_lock guard(mutex_);
    const uint64_t ticket = next_ticket_++;
    served_.wait(guard, [&] { return now_serving_ == ticket; });
  }

  void unlock() {
    {
      const std::lock_guard guard(mutex_);
      ++now_serving_;
    }
    served_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable served_;
  uint64_t next_ticket_ = 0;
  uint64_t now_serving_ = 0;
};

}  // namespace kxcam
