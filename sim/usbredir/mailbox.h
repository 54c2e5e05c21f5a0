// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/eventfd.h>

#include "usbredir/file_descriptor.h"

namespace kxsim {

/// What other threads tell one that sleeps in poll().
template <class Item>
class Mailbox {
 public:
  /// Throws std::system_error.
  Mailbox() : signal_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!signal_) throw std::system_error(errno, std::generic_category(), "eventfd");
  }

  /// Polls as readable while anything is in the box.
  int descriptor() const { return signal_.get(); }

  /// From any thread.
  void post(Item item) {
    const std::lock_guard lock(mutex_);
    if (items_.empty()) eventfd_write(signal_.get(), 1);
    items_.push_back(std::move(item));
  }

  /// Oldest first.
  std::vector<Item> take_all() {
    const std::lock_guard lock(mutex_);
    eventfd_t ignored = 0;
    eventfd_read(signal_.get(), &ignored);
    return std::exchange(items_, {});
  }

 private:
  const FileDescriptor signal_;
  std::mutex mutex_;
  std::vector<Item> items_;
};

}  // namespace kxsim
