// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <new>
#include <span>
#include <string_view>

#include <sys/mman.h>

namespace kxcam::faults {

/// Objects of zeros that this process and those that it forks later have in common, for good.
template <class T>
std::span<T> shared(size_t count) {
  void* memory = mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return {static_cast<T*>(memory), count};
}

/// One of several processes that work at the same time.
struct Worker {
  int number;
  /// What the worker does from now on: it says so should that end it, or take too long, which ends it too.
  void begins(std::string_view what);
};

/// Runs `work` in `count` processes at once, each a world of its own with its own bus, libusb and library:
/// most of what the library does about a fault is waiting. To be called while this process has none of these,
/// and no thread. The test fails when an expectation does in one of them, when one ends otherwise, and when
/// its memory leaks, if leaks are looked for.
void run_in_processes(int count, const std::function<void(Worker&)>& work);

}  // namespace kxcam::faults
