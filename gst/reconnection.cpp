// SPDX-License-Identifier: Apache-2.0
#include "reconnection.h"

#include <chrono>
#include <utility>

namespace kxcam {
namespace {

constexpr std::chrono::milliseconds kPauseBetweenAttempts{250};

}  // namespace

Reconnection::Reconnection(std::function<bool()> attempt)
    : thread_([this, attempt = std::move(attempt)](const std::stop_token& stop) { run(stop, attempt); }) {}

void Reconnection::run(const std::stop_token& stop, const std::function<bool()>& attempt) {
  while (!stop.stop_requested()) {
    const bool succeeded = attempt();
    std::unique_lock lock(mutex_);
    if (succeeded) {
      done_ = true;
      changed_.notify_all();
      return;
    }
    changed_.wait_for(lock, stop, kPauseBetweenAttempts, [] { return false; });
  }
}

bool Reconnection::wait(const std::function<bool()>& interrupted) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return done_ || interrupted(); });
  return done_;
}

void Reconnection::wake() {
  const std::lock_guard lock(mutex_);
  changed_.notify_all();
}

}  // namespace kxcam
