// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace kxcam {

/// A value that one thread may change while another reads it and whose order relative to other
/// memory does not matter: settings, counters, measurements. Reads and writes look like those of a
/// plain variable. Copying a record of them copies value by value, not the record as one.
template <class T>
class Relaxed {
 public:
  Relaxed() = default;
  Relaxed(T value) : value_(value) {}  // NOLINT(google-explicit-constructor): stands in for a T
  Relaxed(const Relaxed& other) : value_(static_cast<T>(other)) {}
  Relaxed& operator=(const Relaxed& other) {
    *this = static_cast<T>(other);
    return *this;
  }
  Relaxed& operator=(T value) {
    value_.store(value, std::memory_order_relaxed);
    return *this;
  }
  ~Relaxed() = default;

  T load() const { return value_.load(std::memory_order_relaxed); }
  operator T() const { return load(); }  // NOLINT(google-explicit-constructor)

  /// Sets or clears `bits` without losing a concurrent change of other bits.
  void set_bits(T bits, bool on) {
    if (on) {
      value_.fetch_or(bits, std::memory_order_relaxed);
    } else {
      value_.fetch_and(static_cast<T>(~bits), std::memory_order_relaxed);
    }
  }

  /// Adds without losing a concurrent addition.
  void add(T amount) { value_.fetch_add(amount, std::memory_order_relaxed); }

 private:
  std::atomic<T> value_{};
};

}  // namespace kxcam
