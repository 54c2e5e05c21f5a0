// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace kxcam {

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
