// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>

namespace kxcam {

/// A point in time that never comes.
inline constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

/// A condition variable whose deadlines are monotonic_ns().
class Condition {
 public:
  /// Returns after a notification, at the deadline, or for no reason.
  void wait(std::unique_lock<std::mutex>& lock, int64_t deadline_ns = kNever);
  void notify_all() { changed_.notify_all(); }

 private:
  std::condition_variable changed_;
};

/// A descriptor that poll() finds readable while it is set.
class Readiness {
 public:
  /// Not set. Throws std::system_error.
  Readiness();
  ~Readiness();
  Readiness(const Readiness&) = delete;
  Readiness& operator=(const Readiness&) = delete;

  void set(bool readable);
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
  bool readable_ = false;
};

}  // namespace kxcam
