// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "failure.h"

namespace kxcam::gentl {

/// Whatever a consumer holds a handle of.
class Module : public std::enable_shared_from_this<Module> {
 public:
  Module() = default;
  virtual ~Module() = default;
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  Handle handle() const { return handle_; }

 private:
  friend class HandleTable;
  Handle handle_ = nullptr;
};

/// Handles and what they stand for. A handle is a place in the table and how often it was given away before,
/// never an address: a stale or an invented one is found out without being followed. Thread-safe.
class HandleTable {
 public:
  static HandleTable& instance();

  Handle enter(const std::shared_ptr<Module>& module);
  /// False when it was not there (any more): of two that close a module, one does.
  bool remove(const Module& module);

  template <class Wanted>
  std::shared_ptr<Wanted> find(Handle handle) const {
    auto found = std::dynamic_pointer_cast<Wanted>(find_any(handle));
    if (found == nullptr) fail(kInvalidHandle, "no such handle");
    return found;
  }

 private:
  struct Place {
    uint32_t generation = 1;
    std::shared_ptr<Module> module;
  };

  std::shared_ptr<Module> find_any(Handle handle) const;

  mutable std::mutex mutex_;
  std::vector<Place> places_;
  std::vector<uint32_t> free_;
};

}  // namespace kxcam::gentl
