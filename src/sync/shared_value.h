// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

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

/// One shared object that writers replace and readers keep: a reader holds on to what it loaded, so
/// that a frame is finished with the tables, and a request with the device handle, it began with.
///
/// invariant: an object of a const type is never changed once it is published.
template <class T>
class Published {
 public:
  Published() = default;
  explicit Published(std::shared_ptr<T> first) : current_(std::move(first)) {}

  std::shared_ptr<T> load() const {
    const std::lock_guard lock(mutex_);
    return current_;
  }

  void store(std::shared_ptr<T> next) {
    const std::lock_guard lock(mutex_);
    current_.swap(next);  // the old object dies outside the lock, with `next`
  }

  /// Publishes a copy that `change` was applied to; concurrent updates follow one another.
  template <class Change>
  void update(Change change) {
    const std::lock_guard one_writer(writer_mutex_);
    auto next = std::make_shared<std::remove_const_t<T>>(*load());
    change(*next);
    store(std::move(next));
  }

 private:
  mutable std::mutex mutex_;  // lock order: writer_mutex_, then mutex_
  std::mutex writer_mutex_;
  std::shared_ptr<T> current_;
};

}  // namespace kxcam
