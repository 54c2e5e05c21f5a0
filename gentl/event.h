// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <string>

#include "answer.h"
#include "handle_table.h"

namespace kxcam::gentl {

/// Something that consumers wait for. What waits in its queue is kept by whoever fires it, under a mutex of
/// his. Thread-safe.
class Event : public Module {
 public:
  explicit Event(EventKind kind) : kind_(kind) {}

  /// Takes the oldest entry; waits for one that long. Without room only its size is told.
  void take(void* room, size_t* size, uint64_t timeout_ms);
  void info(EventInfo command, const Answer& answer);
  virtual void data_info(const void* data, size_t size, EventDataInfo command,
                         const Answer& answer) const = 0;
  void flush();
  /// Ends one wait, that of now or else the next one.
  void kill();
  /// Ends all waits, those to come too.
  void close();

 protected:
  virtual std::mutex& mutex() = 0;
  /// Told of what is put into the queue.
  virtual std::condition_variable& changed() = 0;
  // Hold mutex().
  virtual uint64_t fired() const = 0;
  virtual size_t waiting() const = 0;
  virtual size_t entry_size() const = 0;
  /// Takes the oldest of those that wait.
  virtual void pop(void* room) = 0;
  virtual void clear() = 0;
  /// A wait ends when it changes.
  virtual uint64_t stops() const { return 0; }

 private:
  void wait(std::unique_lock<std::mutex>& lock, uint64_t timeout_ms);

  const EventKind kind_;
  unsigned kills_ = 0;  ///< this and all below: guarded by mutex()
  bool closed_ = false;
};

/// Failures that no call returns, such as that the camera is gone.
class ErrorEvent : public Event {
 public:
  ErrorEvent() : Event(EventKind::kError) {}

  void fire(Status status, const std::string& text);
  void data_info(const void* data, size_t size, EventDataInfo command, const Answer& answer) const override;

 private:
  /// As consumers get it; only data_info() tells them what is in it.
  struct Entry {
    int32_t status;
    std::array<char, 124> text;
  };
  static constexpr size_t kMostEntries = 64;

  std::mutex& mutex() override { return mutex_; }
  std::condition_variable& changed() override { return changed_; }
  uint64_t fired() const override { return fired_; }
  size_t waiting() const override { return entries_.size(); }
  size_t entry_size() const override { return sizeof(Entry); }
  void pop(void* room) override;
  void clear() override { entries_.clear(); }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Entry> entries_;
  uint64_t fired_ = 0;
};

/// The events of one module. Thread-safe.
class Events {
 public:
  Handle enter(const std::shared_ptr<Event>& event, EventKind kind);
  void remove(EventKind kind);
  /// Puts an error into the queue, if anybody wants it.
  void report(Status status, const std::string& text);
  std::shared_ptr<Event> find(EventKind kind);
  void close();

 private:
  std::mutex mutex_;
  std::map<EventKind, std::shared_ptr<Event>> events_;
  bool closed_ = false;
};

}  // namespace kxcam::gentl
