// SPDX-License-Identifier: Apache-2.0
#include "verify/call_watch.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

namespace kxcam::verify {
namespace {

using namespace std::chrono_literals;

/// Beyond everything that the library promises, with faults and other threads beside it.
constexpr auto kStuck = 120s;

}  // namespace

CallWatch::CallWatch() : thread_([this] { watch(); }) {}

CallWatch::~CallWatch() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  stop_.notify_all();
  thread_.join();
}

void CallWatch::begin(const char* function) {
  const std::lock_guard lock(mutex_);
  running_[std::this_thread::get_id()] = {function, Clock::now()};
}

void CallWatch::end(bool succeeded) {
  const auto now = Clock::now();
  const std::lock_guard lock(mutex_);
  const Running call = running_.extract(std::this_thread::get_id()).mapped();
  Statistics& statistics = statistics_[call.function];
  ++statistics.calls;
  if (!succeeded) ++statistics.failures;
  statistics.longest = std::max(statistics.longest, now - call.since);
}

std::map<std::string, CallWatch::Statistics> CallWatch::statistics() const {
  const std::lock_guard lock(mutex_);
  return statistics_;
}

void CallWatch::watch() {
  std::unique_lock lock(mutex_);
  while (!stop_.wait_for(lock, 200ms, [&] { return stopping_; })) {
    for (const auto& [thread, call] : running_) {
      if (Clock::now() - call.since < kStuck) continue;
      const std::string message =
          fmt::format("kxcam: {} is stuck: it has not returned within {} s\n", call.function, kStuck.count());
      std::fputs(message.c_str(), stderr);
      std::abort();
    }
  }
}

}  // namespace kxcam::verify
