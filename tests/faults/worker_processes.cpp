// SPDX-License-Identifier: Apache-2.0
#include "worker_processes.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kxcam::faults {

namespace {
constexpr unsigned kStuckAfterSeconds = 90;
}

struct WorkerNote {
  std::array<char, 128> text;
};

void Worker::begins(std::string_view what) {
  const size_t length = std::min(what.size(), note_.text.size() - 1);
  std::copy_n(what.data(), length, note_.text.data());
  note_.text[length] = '\0';
  alarm(kStuckAfterSeconds);
}

namespace {

[[noreturn]] void be_worker(Worker worker, const std::function<void(Worker&)>& work) {
  worker.begins("to start");
  work(worker);
  worker.begins("to end");
  // Not _exit(): leaks are looked for on the way out.
  std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
}

void expect_success(pid_t worker, const WorkerNote& note) {
  int status = 0;
  ASSERT_EQ(waitpid(worker, &status, 0), worker);
  EXPECT_FALSE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << "stuck, " << note.text.data();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS)
      << "status " << status << ", " << note.text.data();
}

}  // namespace

void run_in_processes(int count, const std::function<void(Worker&)>& work) {
  const SharedArray<WorkerNote> notes(static_cast<size_t>(count));
  std::vector<pid_t> workers;
  std::fflush(nullptr);
  for (int number = 0; number < count; ++number) {
    WorkerNote& note = notes.items()[static_cast<size_t>(number)];
    const pid_t worker = fork();
    ASSERT_GE(worker, 0);
    if (worker == 0) be_worker(Worker(number, note), work);
    workers.push_back(worker);
  }
  for (size_t i = 0; i < workers.size(); ++i) expect_success(workers[i], notes.items()[i]);
}

}  // namespace kxcam::faults
