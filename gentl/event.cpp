// SPDX-License-Identifier: Apache-2.0
#include "event.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace kxcam::gentl {

void Event::wait(std::unique_lock<std::mutex>& lock, uint64_t timeout_ms) {
  const uint64_t stops_before = stops();
  const auto over = [&] { return closed_ || kills_ > 0 || waiting() > 0 || stops() != stops_before; };
  // Longer than anybody waits, and no clock runs over.
  constexpr uint64_t kLongest = uint64_t{1000} * 3600 * 24 * 365;
  bool came = true;
  if (timeout_ms > kLongest) {
    changed().wait(lock, over);
  } else {
    came = changed().wait_for(lock, std::chrono::milliseconds(timeout_ms), over);
  }
  if (closed_) fail(kAbort, "the event is not registered any more");
  if (kills_ > 0) {
    --kills_;
    fail(kAbort, "the wait was ended");
  }
  if (!came) fail(kTimeout, "nothing came in time");
  if (waiting() == 0) fail(kAbort, "acquisition was stopped");
}

void Event::take(void* room, size_t* size, uint64_t timeout_ms) {
  required(size);
  std::unique_lock lock(mutex());
  if (room == nullptr) {
    *size = entry_size();
    return;
  }
  if (*size < entry_size()) fail(kBufferTooSmall, "the buffer is too small");
  wait(lock, timeout_ms);
  pop(room);
  *size = entry_size();
}

void Event::info(EventInfo command, const Answer& answer) {
  const std::lock_guard lock(mutex());
  switch (command) {
    case EventInfo::kKind:
      return answer.int32(static_cast<int32_t>(kind_));
    case EventInfo::kInQueue:
      return answer.size(waiting());
    case EventInfo::kFired:
      return answer.uint64(fired());
    case EventInfo::kLargest:
    case EventInfo::kLargestValue:
      return answer.size(entry_size());
  }
  fail_unknown_info();
}

void Event::flush() {
  const std::lock_guard lock(mutex());
  clear();
}

void Event::kill() {
  const std::lock_guard lock(mutex());
  ++kills_;
  changed().notify_all();
}

void Event::close() {
  const std::lock_guard lock(mutex());
  closed_ = true;
  changed().notify_all();
}

void ErrorEvent::fire(Status status, const std::string& text) {
  Entry entry{.status = status, .text = {}};
  std::memcpy(entry.text.data(), text.data(), std::min(text.size(), entry.text.size() - 1));
  const std::lock_guard lock(mutex_);
  if (entries_.size() == kMostEntries) entries_.pop_front();
  entries_.push_back(entry);
  ++fired_;
  changed_.notify_all();
}

void ErrorEvent::pop(void* room) {
  std::memcpy(room, &entries_.front(), sizeof(Entry));
  entries_.pop_front();
}

void ErrorEvent::data_info(const void* data, size_t size, EventDataInfo command, const Answer& answer) const {
  if (data == nullptr || size < sizeof(Entry))
    fail(kInvalidParameter, "these are not the data of this event");
  Entry entry;
  std::memcpy(&entry, data, sizeof entry);
  entry.text.back() = '\0';
  switch (command) {
    case EventDataInfo::kId:
      return answer.int32(entry.status);
    case EventDataInfo::kValue:
      return answer.text(entry.text.data());
    case EventDataInfo::kNumber:
      break;
  }
  fail_unknown_info();
}

Handle Events::enter(const std::shared_ptr<Event>& event, EventKind kind) {
  const std::lock_guard lock(mutex_);
  if (closed_) fail(kInvalidHandle, "the module is closed");
  if (events_.contains(kind)) fail(kResourceInUse, "this event is registered already");
  const auto entered = events_.emplace(kind, event).first;
  try {
    return HandleTable::instance().enter(event);
  } catch (...) {
    events_.erase(entered);
    throw;
  }
}

void Events::remove(EventKind kind) {
  const std::lock_guard lock(mutex_);
  const auto found = events_.find(kind);
  if (found == events_.end()) fail(kNotAvailable, "this event is not registered");
  found->second->close();
  HandleTable::instance().remove(*found->second);
  events_.erase(found);
}

std::shared_ptr<Event> Events::find(EventKind kind) {
  const std::lock_guard lock(mutex_);
  const auto found = events_.find(kind);
  return found == events_.end() ? nullptr : found->second;
}

void Events::report(Status status, const std::string& text) {
  if (const auto event = std::dynamic_pointer_cast<ErrorEvent>(find(EventKind::kError)))
    event->fire(status, text);
}

void Events::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  for (const auto& [kind, event] : std::exchange(events_, {})) {
    event->close();
    HandleTable::instance().remove(*event);
  }
}

}  // namespace kxcam::gentl
