// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace kxcam::soak {

/// How long a call may take at most, with faults and eleven other threads beside it.
enum class Patience {
  kRequest,      ///< one setting: a few control requests, each of which may time out twice
  kFrame,        ///< waits for frames, or for those who do
  kWholeCamera,  ///< opens, closes, reconnects, or moves all settings byte by byte
};
std::chrono::seconds limit_of(Patience patience);

/// Measures every call of the library, and ends the program with the name of a call that takes longer than
/// its limit: that one is stuck. Thread-safe.
class CallWatch {
 public:
  using Clock = std::chrono::steady_clock;

  struct Statistics {
    uint64_t calls = 0;
    uint64_t failures = 0;
    Clock::duration longest{};
    std::chrono::seconds limit{};
  };

  /// `slowness` multiplies the limits, for programs that are slow by the way they were built.
  explicit CallWatch(int slowness);
  ~CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  /// Calls, and returns whether that succeeded.
  template <class Call>
  bool operator()(const char* function, Patience patience, Call call) {
    begin(function, patience);
    const bool succeeded = call() == 0;
    end(succeeded);
    return succeeded;
  }

  /// By function.
  std::map<std::string, Statistics> statistics() const;

 private:
  struct Running {
    const char* function;
    std::chrono::seconds limit;
    Clock::time_point since;
  };

  void begin(const char* function, Patience patience);
  void end(bool succeeded);
  void watch();

  const int slowness_;
  mutable std::mutex mutex_;  // guards the rest
  std::condition_variable stop_;
  bool stopping_ = false;
  std::map<std::thread::id, Running> running_;
  std::map<std::string, Statistics> statistics_;
  std::thread thread_;
};

}  // namespace kxcam::soak
