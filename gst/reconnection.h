// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace kxcam {

/// Tries again and again until the camera is back. The thread is its own: an attempt takes up to half a
/// second and cannot be interrupted, and a state change must not wait for it.
class Reconnection {
 public:
  explicit Reconnection(std::function<bool()> attempt);
  /// Waits for the attempt that is under way.
  ~Reconnection() = default;

  /// Until it has succeeded, or `interrupted` after wake().
  bool wait(const std::function<bool()>& interrupted);
  void wake();

 private:
  void run(const std::stop_token& stop, const std::function<bool()>& attempt);

  std::mutex mutex_;
  std::condition_variable_any changed_;
  bool done_ = false;
  std::jthread thread_;  // last: it uses all above
};

}  // namespace kxcam
