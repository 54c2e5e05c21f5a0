// SPDX-License-Identifier: Apache-2.0
#include "worker_processes.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kxcam::faults {
namespace {

constexpr unsigned kStuckAfterSeconds = 90;
char doing[128];

void die(int signal) {
  // A signal's handler may not format.
  const bool said = write(STDERR_FILENO, doing, std::ranges::find(doing, '\n') - doing + 1) > 0;
  _exit(said && signal == SIGALRM ? 2 : 3);
}

[[noreturn]] void be_worker(Worker worker, const std::function<void(Worker&)>& work) {
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

}  // namespace

void Worker::begins(std::string_view what) {
  const size_t length = std::min(what.size(), sizeof doing - 1);
  std::copy_n(what.data(), length, doing);
  doing[length] = '\n';
  alarm(kStuckAfterSeconds);
}

void run_in_processes(int count, const std::function<void(Worker&)>& work) {
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
