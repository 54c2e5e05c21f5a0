// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_ring.h"

#include <algorithm>
#include <new>
#include <utility>

#include "sync/clock.h"

namespace kxcam {

namespace {

constexpr size_t kTransferSlack = 1024;
constexpr size_t kLargestSample = 2;
constexpr int64_t kFlushMs = 200;

/// monotonic_ns() that many milliseconds from now on; never for less than none.
int64_t deadline_in(int64_t ms) {
  const int64_t now = monotonic_ns();
  return ms < 0 || ms > (kNever - now) / kNsPerMs ? kNever : now + ms * kNsPerMs;
}

}  // namespace

/// A consumer's place in the queue, from its construction on; hold state_mutex at both ends.
class FrameRing::Turn {
 public:
  explicit Turn(FrameRing& ring) : ring_(ring) { ring_.turns_.push_back(this); }
  ~Turn() {
    std::erase(ring_.turns_, this);
    ring_.for_consumers_.notify_all();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  bool has_come() const { return ring_.turns_.front() == this; }

 private:
  FrameRing& ring_;
};

FrameRing::FrameRing(int32_t sensor_pixels, Acquisition acquisition)
    : acquisition_(acquisition),
      buffer_size_(static_cast<size_t>(sensor_pixels) * kLargestSample + kTransferSlack) {
  for (Slot& slot : slots_) {
    // calloc leaves pages that are never touched to the kernel: only 12-bit cameras use the second half.
    slot.host_buffer.reset(static_cast<uint8_t*>(std::calloc(buffer_size_, 1)));  // NOLINT: freed by Free
    if (slot.host_buffer == nullptr) throw std::bad_alloc();
  }
}

std::optional<int> FrameRing::wait_for_free_buffer() {
  std::unique_lock state(state_mutex_);
  const int i = write_index_;
  if (slot(i).state == BufferState::kFree) return i;
  full_since_ns_ = monotonic_ns();
  while (slot(i).state != BufferState::kFree && acquisition_.running) for_reader_.wait(state);
  full_before_ns_ += monotonic_ns() - std::exchange(full_since_ns_, kNever);
  if (slot(i).state != BufferState::kFree) return std::nullopt;
  return i;
}

void FrameRing::pause(int ms) {
  std::unique_lock state(state_mutex_);
  const int64_t deadline = deadline_in(ms);
  while (acquisition_.running && monotonic_ns() < deadline) for_reader_.wait(state, deadline);
}

void FrameRing::mark_ready(int i, FrameGeometry geometry, FrameStamp stamp) {
  {
    const std::lock_guard state(state_mutex_);
    stamp.sequence = counters_.ended++;
    Slot& filled = slot(i);
    filled.state = BufferState::kReady;
    filled.geometry = geometry;
    filled.stamp = stamp;
    write_index_ = next(i);
    announce();
  }
  for_consumers_.notify_all();
}

void FrameRing::lose(uint64_t FrameCounters::*cause) {
  const std::lock_guard state(state_mutex_);
  ++counters_.ended;
  ++(counters_.*cause);
}

void FrameRing::set_gone(bool gone) {
  const std::lock_guard state(state_mutex_);
  gone_ = gone;
  announce();
  for_consumers_.notify_all();
}

bool FrameRing::gone() {
  const std::lock_guard state(state_mutex_);
  return gone_;
}

void FrameRing::interrupt(bool on) {
  const std::lock_guard state(state_mutex_);
  interrupted_ = on;
  announce();
  for_consumers_.notify_all();
}

void FrameRing::wake() {
  // Under the lock, or whoever has just looked and is about to wait would miss it.
  const std::lock_guard state(state_mutex_);
  // The descriptor does not tell of them. Were they left to the next query, a program that waits for it would
  // wait for ever once the ring is full of them.
  while (oldest_is_ready() && slot(read_index_).geometry != geometry_in_force())
    drop_oldest(&FrameCounters::old_geometry);
  announce();
  for_reader_.notify_all();
  for_consumers_.notify_all();
}

void FrameRing::drop_oldest(uint64_t FrameCounters::*cause) {
  slot(read_index_).state = BufferState::kFree;
  read_index_ = next(read_index_);
  ++(counters_.*cause);
  announce();
  for_reader_.notify_all();
}

void FrameRing::drop_ready_frames() {
  const std::lock_guard state(state_mutex_);
  while (oldest_is_ready()) drop_oldest(&FrameCounters::flushed);
}

std::optional<int> FrameRing::take_ready(FrameGeometry geometry, bool newest) {
  while (oldest_is_ready()) {
    const int i = read_index_;
    const bool wanted = slot(i).geometry == geometry;
    // Whoever waits with a geometry of the past must not throw away the frames of the present.
    if (!wanted && geometry_in_force() != geometry) return std::nullopt;
    const Slot& behind = slot(next(i));
    const bool newer = next(i) != write_index_ && behind.state == BufferState::kReady;
    if (wanted && !(newest && newer && behind.geometry == geometry)) {
      read_index_ = next(i);
      slot(i).state = BufferState::kTaken;
      announce();
      return i;
    }
    drop_oldest(wanted ? &FrameCounters::passed_over : &FrameCounters::old_geometry);
  }
  return std::nullopt;
}

FrameRing::Taken FrameRing::take(FrameGeometry geometry, const Wait& wait) {
  std::unique_lock state(state_mutex_);
  const Turn turn(*this);
  std::optional<int64_t> deadline;
  if (!wait.counts_from_turn) deadline = deadline_in(wait.limit_ms);
  for (;;) {
    if (wait.interruptible && interrupted_) return {.outcome = Outcome::kInterrupted};
    const bool over = deadline && monotonic_ns() >= *deadline;
    if (turn.has_come()) {
      if (!deadline) deadline = deadline_in(wait.limit_ms);
      if (const std::optional<int> i = take_ready(geometry, wait.newest)) {
        return {Outcome::kTaken, *i, slot(*i).stamp, count(BufferState::kReady)};
      }
    }
    if (wait.interruptible && gone_ && count(BufferState::kReady) == 0) return {.outcome = Outcome::kGone};
    const bool in_vain = !acquisition_.running || geometry_in_force() != geometry;
    if (over || (in_vain && turn.has_come())) return {};
    for_consumers_.wait(state, deadline.value_or(kNever));
  }
}

void FrameRing::release(int i, bool delivered) {
  {
    const std::lock_guard state(state_mutex_);
    ++(delivered ? counters_.delivered : counters_.not_delivered);
    slot(i).state = BufferState::kFree;
  }
  for_reader_.notify_all();
}

void FrameRing::flush() {
  std::unique_lock state(state_mutex_);
  const Turn turn(*this);
  std::optional<int64_t> deadline;
  for (int cleared = 0;;) {
    if (turn.has_come()) {
      if (!deadline) deadline = deadline_in(kFlushMs);
      for (; cleared < kHostBufferCount && oldest_is_ready(); ++cleared) drop_oldest(&FrameCounters::flushed);
      if (cleared == kHostBufferCount || !acquisition_.running || monotonic_ns() >= *deadline) return;
    }
    for_consumers_.wait(state, deadline.value_or(kNever));
  }
}

int FrameRing::count(BufferState state) const {
  return static_cast<int>(std::ranges::count(slots_, state, &Slot::state));
}

int FrameRing::waiting() {
  const std::lock_guard state(state_mutex_);
  return count(BufferState::kReady);
}

FrameCounters FrameRing::counters() {
  const std::lock_guard state(state_mutex_);
  FrameCounters now = counters_;
  now.waiting = uint64_t{0} + count(BufferState::kReady) + count(BufferState::kTaken);
  return now;
}

int64_t FrameRing::full_ns() {
  const std::lock_guard state(state_mutex_);
  return full_before_ns_ + (full_since_ns_ == kNever ? 0 : monotonic_ns() - full_since_ns_);
}

int FrameRing::descriptor() {
  const std::lock_guard state(state_mutex_);
  if (!readiness_) readiness_.emplace();
  announce();
  return readiness_->descriptor();
}

void FrameRing::announce() {
  if (!readiness_) return;
  const FrameGeometry geometry = geometry_in_force();
  const bool frame = std::ranges::any_of(slots_, [&](const Slot& slot) {
    return slot.state == BufferState::kReady && slot.geometry == geometry;
  });
  readiness_->set(frame || gone_ || interrupted_);
}

}  // namespace kxcam
