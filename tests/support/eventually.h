// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace kxcam::test {

/// Whether the condition comes true. The patience is for a machine that is busy with all else.
template <class Condition>
bool eventually(Condition condition, std::chrono::seconds patience = std::chrono::seconds(60)) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace kxcam::test
