// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>

namespace kxcam::verify {

/// Lets actions run side by side, and stand still while it is closed.
class Gate {
 public:
  /// Holds the gate open for one action.
  class Pass {
   public:
    explicit Pass(Gate& gate) : gate_(gate) { gate_.enter(); }
    ~Pass() { gate_.leave(); }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

   private:
    Gate& gate_;
  };

  /// Returns when all actions have ended; others wait from then on.
  void close() {
    std::unique_lock lock(mutex_);
    closed_ = true;
    changed_.wait(lock, [&] { return inside_ == 0; });
  }
  void open() {
    const std::lock_guard lock(mutex_);
    closed_ = false;
    changed_.notify_all();
  }

 private:
  void enter() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return !closed_; });
    ++inside_;
  }
  void leave() {
    const std::lock_guard lock(mutex_);
    if (--inside_ == 0) changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool closed_ = false;
  int inside_ = 0;
};

}  // namespace kxcam::verify
