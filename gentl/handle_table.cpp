// SPDX-License-Identifier: Apache-2.0
#include "handle_table.h"

#include <optional>
#include <utility>

namespace kxcam::gentl {

namespace {

Handle handle_of(uint32_t place, uint32_t generation) {
  return reinterpret_cast<Handle>(uintptr_t{generation} << 32 | (uintptr_t{place} + 1) << 4);
}

struct Position {
  size_t place;
  uint32_t generation;
};

std::optional<Position> position_of(Handle handle) {
  const auto value = reinterpret_cast<uintptr_t>(handle);
  const auto low = static_cast<uint32_t>(value);
  if (low == 0 || (low & 0xF) != 0) return std::nullopt;
  return Position{(low >> 4) - 1, static_cast<uint32_t>(value >> 32)};
}

}  // namespace

HandleTable& HandleTable::instance() {
  static HandleTable& one = *new HandleTable;  // a program may end while a thread of its own still calls
  return one;
}

Handle HandleTable::enter(const std::shared_ptr<Module>& module) {
  const std::lock_guard lock(mutex_);
  if (free_.empty()) {
    constexpr size_t kMostPlaces = 1U << 27;
    if (places_.size() >= kMostPlaces) fail(kResourceExhausted, "too many handles");
    places_.emplace_back();
    free_.reserve(places_.capacity());  // so that giving one back cannot fail
    free_.push_back(static_cast<uint32_t>(places_.size() - 1));
  }
  const uint32_t place = free_.back();
  free_.pop_back();
  places_[place].module = module;
  return module->handle_ = handle_of(place, places_[place].generation);
}

bool HandleTable::remove(const Module& module) {
  std::shared_ptr<Module> last;  // destroyed outside the lock
  const std::lock_guard lock(mutex_);
  const std::optional<Position> at = position_of(module.handle_);
  if (!at || at->place >= places_.size()) return false;
  Place& place = places_[at->place];
  if (place.generation != at->generation || place.module == nullptr) return false;
  last = std::exchange(place.module, nullptr);
  if (++place.generation != 0) free_.push_back(static_cast<uint32_t>(at->place));
  return true;
}

std::shared_ptr<Module> HandleTable::find_any(Handle handle) const {
  const std::lock_guard lock(mutex_);
  const std::optional<Position> at = position_of(handle);
  if (!at || at->place >= places_.size()) return nullptr;
  const Place& place = places_[at->place];
  return place.generation == at->generation ? place.module : nullptr;
}

}  // namespace kxcam::gentl
