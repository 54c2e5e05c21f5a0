// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_ring.h"

#include <algorithm>
#include <new>

#include "sync/clock.h"

namespace kxcam {

namespace {

constexpr size_t kTransferSlack = 1024;
constexpr size_t kLargestSample = 2;
constexpr int kPollMs = 1;
constexpr int kFlushPollMs = 10;
constexpr uint64_t kFlushMs = 200;

}  // namespace

FrameRing::FrameRing(int32_t sensor_pixels)
    : buffer_size_(static_cast<size_t>(sensor_pixels) * kLargestSample + kTransferSlack) {
  for (Slot& slot : slots_) {
    // calloc leaves pages that are never touched to the kernel: only 12-bit cameras use the second half.
    slot.host_buffer.reset(static_cast<uint8_t*>(std::calloc(buffer_size_, 1)));  // NOLINT: freed by Free
    if (slot.host_buffer == nullptr) throw std::bad_alloc();
  }
}

std::optional<int> FrameRing::wait_for_free_buffer(const std::atomic<bool>& running) {
  std::unique_lock state(state_mutex_);
  const int i = write_index_;
  while (slot(i).state != BufferState::kFree) {
    state.unlock();
    sysdelay(kPollMs);
    if (!running) return std::nullopt;
    state.lock();
  }
  return i;
}

void FrameRing::mark_ready(int i, FrameGeometry geometry) {
  const std::lock_guard state(state_mutex_);
  slot(i).state = BufferState::kReady;
  slot(i).geometry = geometry;
  write_index_ = next(i);
}

void FrameRing::drop_oldest() {
  slot(read_index_).state = BufferState::kFree;
  read_index_ = next(read_index_);
  counters_.flushed.add(1);
}

bool FrameRing::drop_ready() {
  const std::lock_guard state(state_mutex_);
  if (slot(read_index_).state != BufferState::kReady) return false;
  drop_oldest();
  return true;
}

void FrameRing::drop_ready_frames() {
  const std::lock_guard state(state_mutex_);
  while (slot(read_index_).state == BufferState::kReady) drop_oldest();
}

std::optional<int> FrameRing::take_ready(FrameGeometry geometry, const std::atomic<FrameGeometry>& in_force) {
  const std::lock_guard state(state_mutex_);
  while (slot(read_index_).state == BufferState::kReady) {
    const int i = read_index_;
    const bool wanted = slot(i).geometry == geometry;
    // Whoever waits with a geometry of the past must not throw away the frames of the present.
    if (!wanted && in_force.load(std::memory_order_relaxed) != geometry) return std::nullopt;
    read_index_ = next(i);
    slot(i).state = wanted ? BufferState::kTaken : BufferState::kFree;
    if (wanted) return i;
    counters_.old_geometry.add(1);
  }
  return std::nullopt;
}

std::optional<int> FrameRing::take(FrameGeometry geometry, int64_t limit_ms, const Acquisition& acquisition) {
  const std::lock_guard query(query_mutex_);
  // Measured, not counted in polls: on a busy machine each may take many times as long as it asks for. After
  // the last one the ring is looked at once more.
  const uint64_t start = GetTickCount();
  for (bool over = false;;) {
    if (const std::optional<int> i = take_ready(geometry, acquisition.geometry)) return i;
    if (over) return std::nullopt;
    sysdelay(kPollMs);
    over = static_cast<int64_t>(GetTickCount() - start) > limit_ms || !acquisition.running ||
           acquisition.geometry.load(std::memory_order_relaxed) != geometry;
  }
}

void FrameRing::release(int i, bool delivered) {
  (delivered ? counters_.delivered : counters_.not_delivered).add(1);
  const std::lock_guard state(state_mutex_);
  slot(i).state = BufferState::kFree;
}

int FrameRing::waiting() {
  const std::lock_guard state(state_mutex_);
  return static_cast<int>(std::ranges::count(slots_, BufferState::kReady, &Slot::state));
}

void FrameRing::flush() {
  const std::lock_guard query(query_mutex_);
  const uint64_t start = GetTickCount();
  for (int cleared = 0;;) {
    while (cleared < kHostBufferCount && drop_ready()) ++cleared;
    if (cleared == kHostBufferCount || GetTickCount() - start >= kFlushMs) return;
    sysdelay(kFlushPollMs);
  }
}

}  // namespace kxcam
