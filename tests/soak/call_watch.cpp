// SPDX-License-Identifier: Apache-2.0
#include "call_watch.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

namespace kxcam::soak {

using namespace std::chrono_literals;

std::chrono::seconds limit_of(Patience patience) {
  switch (patience) {
    case Patience::kRequest:
      return 10s;
    case Patience::kFrame:
      return 30s;
    case Patience::kWholeCamera:
      return 60s;
  }
  return 0s;
}

CallWatch::CallWatch(int slowness) : slowness_(slowness), thread_([this] { watch(); }) {}

CallWatch::~CallWatch() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  stop_.notify_all();
  thread_.join();
}

void CallWatch::begin(const char* function, Patience patience) {
  const std::lock_guard lock(mutex_);
  running_[std::this_thread::get_id()] = {function, slowness_ * limit_of(patience), Clock::now()};
}

void CallWatch::end(bool succeeded) {
  const auto now = Clock::now();
  const std::lock_guard lock(mutex_);
  const auto call = running_.extract(std::this_thread::get_id()).mapped();
  Statistics& statistics = statistics_[call.function];
  ++statistics.calls;
  if (!succeeded) ++statistics.failures;
  statistics.longest = std::max(statistics.longest, now - call.since);
  statistics.limit = call.limit;
}

std::map<std::string, CallWatch::Statistics> CallWatch::statistics() const {
  const std::lock_guard lock(mutex_);
  return statistics_;
}

void CallWatch::watch() {
  std::unique_lock lock(mutex_);
  while (!stop_.wait_for(lock, 200ms, [&] { return stopping_; })) {
    for (const auto& [thread, call] : running_) {
      if (Clock::now() - call.since < call.limit) continue;
      fmt::print(stderr, "kxcam_soak: {} is stuck: it has not returned within {} s\n", call.function,
                 call.limit.count());
      for (const auto& [other, beside] : running_)
        fmt::print(stderr, "  beside it: {} for {:.1f} s\n", beside.function,
                   std::chrono::duration<double>(Clock::now() - beside.since).count());
      std::fflush(nullptr);
      std::abort();
    }
  }
}

}  // namespace kxcam::soak
