// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <span>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kxcam::faults {

/// Objects of zeros that this process and those that it forks later have in common, for good.
template <class T>
std::span<T> shared(size_t count) {
  void* memory = mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return {static_cast<T*>(memory), count};
}

inline constexpr unsigned kStuckAfterSeconds = 900;
inline char doing[128];  ///< of this worker

inline void die(int signal) {
  // A signal's handler may not format.
  const bool said = write(STDERR_FILENO, doing, std::ranges::find(doing, '\n') - doing + 1) > 0;
  _exit(said && signal == SIGALRM ? 2 : 3);
}

/// One of several processes that work at the same time.
struct Worker {
  int number;
  /// What the worker does from now on: it says so should that end it, or take too long, which ends it too.
  void begins(std::string_view what);
};

inline void Worker::begins(std::string_view what) {
  const size_t length = std::min(what.size(), sizeof doing - 1);
  std::copy_n(what.data(), length, doing);
  doing[length] = '\n';
  alarm(kStuckAfterSeconds);
}

[[noreturn]] inline void be_worker(Worker worker, const std::function<void(Worker&)>& work) {
  for (const int signal : {SIGALRM, SIGABRT, SIGSEGV}) {
    const auto before = std::signal(signal, die);
    if (before != SIG_DFL) std::signal(signal, before);  // a sanitizer says more
  }
  worker.begins("to start");
  work(worker);
  worker.begins("to end");
  // Not _exit(): leaks are looked for on the way out.
  std::exit(testing::Test::HasFailure() ? 1 : 0);
}

/// Runs `work` in `count` processes at once, each a world of its own with its own bus, libusb and library:
/// most of what the library does about a fault is waiting. To be called while this process has none of these,
/// and no thread. The test fails when an expectation does in one of them, when one ends otherwise, and when
/// its memory leaks, if leaks are looked for.
inline void run_in_processes(int count, const std::function<void(Worker&)>& work) {
  std::vector<pid_t> workers;
  std::fflush(nullptr);
  for (int number = 0; number < count; ++number) {
    const pid_t worker = fork();
    ASSERT_GE(worker, 0);
    if (worker == 0) be_worker({number}, work);
    workers.push_back(worker);
  }
  for (const pid_t worker : workers) {
    int status = 0;
    ASSERT_EQ(waitpid(worker, &status, 0), worker);
    EXPECT_EQ(status, 0) << "status 2 << 8: stuck";
  }
}

}  // namespace kxcam::faults
