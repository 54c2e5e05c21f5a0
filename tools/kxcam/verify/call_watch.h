// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace kxcam::verify {

/// Measures calls of the library, and ends the program with the name of one that does not return: it is
/// stuck, and so would be everything that waits for it. Thread-safe.
class CallWatch {
 public:
  using Clock = std::chrono::steady_clock;

  struct Statistics {
    uint64_t calls = 0;
    uint64_t failures = 0;
    Clock::duration longest{};
  };

  CallWatch();
  ~CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  /// Calls, and returns the status.
  template <class Call>
  int operator()(const char* function, Call call) {
    begin(function);
    const auto status = static_cast<int>(call());
    end(status == 0);
    return status;
  }

  /// By function.
  std::map<std::string, Statistics> statistics() const;

 private:
  struct Running {
    const char* function;
    Clock::time_point since;
  };

  void begin(const char* function);
  void end(bool succeeded);
  void watch();

  mutable std::mutex mutex_;  // guards the rest
  std::condition_variable stop_;
  bool stopping_ = false;
  std::map<std::thread::id, Running> running_;
  std::map<std::string, Statistics> statistics_;
  std::thread thread_;
};

}  // namespace kxcam::verify
