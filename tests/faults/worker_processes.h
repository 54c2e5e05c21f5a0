// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <span>
#include <string_view>

#include <sys/mman.h>

namespace kxcam::faults {

/// Objects that this process and those that it forks later have in common.
template <class T>
class SharedArray {
 public:
  explicit SharedArray(size_t count) : bytes_(count * sizeof(T)), items_(map(bytes_), count) {
    std::uninitialized_value_construct_n(items_.data(), count);
  }
  ~SharedArray() { munmap(items_.data(), bytes_); }
  SharedArray(const SharedArray&) = delete;
  SharedArray& operator=(const SharedArray&) = delete;

  std::span<T> items() const { return items_; }

 private:
  static T* map(size_t bytes) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }

  size_t bytes_;
  std::span<T> items_;
};

/// What the parent reads of a worker that died.
struct WorkerNote;

/// One of several processes that work at the same time.
class Worker {
 public:
  Worker(int number, WorkerNote& note) : number_(number), note_(note) {}

  int number() const { return number_; }
  /// What the worker does from now on. One that is at it for too long is ended.
  void begins(std::string_view what);

 private:
  int number_;
  WorkerNote& note_;
};

/// Runs `work` in `count` processes at once, each a world of its own with its own bus, libusb and library:
/// most of what the library does about a fault is waiting. To be called while this process has none of these,
/// and no thread. The test fails when an expectation does in one of them, when one ends otherwise, and when
/// its memory leaks, if leaks are looked for.
void run_in_processes(int count, const std::function<void(Worker&)>& work);

}  // namespace kxcam::faults
