// SPDX-License-Identifier: Apache-2.0
#include "sync/fair_mutex.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

namespace kxcam {
namespace {

using namespace std::chrono_literals;

TEST(FairMutex, GoesToAWaiterBeforeItGoesBackToItsHolder) {
  FairMutex mutex;
  std::atomic<bool> done = false;
  std::atomic<int> turns = 0;
  std::thread greedy([&] {
    while (!done) {
      const std::lock_guard guard(mutex);
      ++turns;
      std::this_thread::sleep_for(2ms);
    }
  });
  while (turns == 0) std::this_thread::yield();
  for (int n = 0; n < 20; ++n) {
    const int before = turns;
    const std::lock_guard guard(mutex);
    EXPECT_LE(turns - before, 2);
  }
  done = true;
  greedy.join();
}

}  // namespace
}  // namespace kxcam
