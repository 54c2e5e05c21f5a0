// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "core/acquisition/frame_geometry.h"
#include "sync/fair_mutex.h"
#include "sync/relaxed.h"

namespace kxcam {

/// What became of the frames whose end arrived, since the ring was made.
///
/// invariant: such a frame is counted here once or waits in the ring. A frame of which the camera sent no
/// end, because it was reset or unplugged meanwhile, is counted with the one that its bytes ran into, or
/// not at all.
struct FrameCounters {
  // By the reader, which then fills the same buffer anew.
  Relaxed<uint64_t> short_frames = 0;  ///< fewer bytes than the geometry has
  Relaxed<uint64_t> long_frames = 0;   ///< more
  Relaxed<uint64_t> timed_out = 0;     ///< bytes of which arrived as the transfer was given up

  // By the ring and the queries.
  Relaxed<uint64_t> old_geometry = 0;   ///< passed over by a query: from before the geometry was changed
  Relaxed<uint64_t> flushed = 0;        ///< dropped by a flush, before a trigger shot or by a reconnect
  Relaxed<uint64_t> delivered = 0;      ///< handed to a program
  Relaxed<uint64_t> not_delivered = 0;  ///< taken by a query that failed then
};

inline constexpr int kHostBufferCount = 5;

/// The host buffers between the reader thread, which fills them, and the queries, which empty them
/// in order.
///
/// Lock order on the consumers' side: query_mutex, then state_mutex; state_mutex is released before
/// a buffer's mutex is taken and is never held across a transfer or a sleep. The reader takes
/// state_mutex and buffer mutexes only.
///
/// invariant: the reader writes free buffers only; a buffer is ready until a query takes it, and taken until
/// that query hands it back.
/// invariant: write_index and read_index lie in 0..kHostBufferCount - 1 and move forward by one.
class FrameRing {
 public:
  /// Room in every buffer for two bytes per sensor pixel, the most a query can copy, and the slack of
  /// the last USB transfer. Throws std::bad_alloc.
  explicit FrameRing(int32_t sensor_pixels);

  /// Reader: the buffer to fill next, once it is free. Nothing when `running` ended while it was not.
  std::optional<int> wait_for_free_buffer(const std::atomic<bool>& running);

  /// Reader: buffer `i` holds a whole frame of that geometry.
  void mark_ready(int i, FrameGeometry geometry);

  /// The geometry in force and whether frames may still come; both may change during a wait.
  struct Acquisition {
    const std::atomic<FrameGeometry>& geometry;
    const std::atomic<bool>& running;
  };

  /// Consumer: takes the next frame of that geometry, waiting for at least `limit_ms`
  /// milliseconds; frames from before a change of geometry are dropped.
  /// Nothing when none came, `running` ended or another geometry came into force: the frames of that one
  /// stay for those who ask for them. Hand the buffer back with release().
  std::optional<int> take(FrameGeometry geometry, int64_t limit_ms, const Acquisition& acquisition);

  /// Consumer: buffer `i` may be filled again. `delivered`: its frame reached the program.
  void release(int i, bool delivered);

  /// Drops the frames that are ready or become ready within 200 ms, at most one ring full.
  void flush();

  /// Drops the frames that are ready, without waiting; a query that waits goes on waiting.
  void drop_ready_frames();

  /// Frames that are ready, 0..kHostBufferCount.
  int waiting();
  FrameCounters& counters() { return counters_; }

  /// The bytes of a buffer; hold buffer_mutex(i) while touching them.
  std::span<uint8_t> buffer(int i) { return {slot(i).host_buffer.get(), buffer_size_}; }
  std::mutex& buffer_mutex(int i) { return slot(i).host_buffer_mutex; }

 private:
  struct Free {
    void operator()(uint8_t* p) const { std::free(p); }  // NOLINT: pairs with calloc
  };

  enum class BufferState : uint8_t { kFree, kReady, kTaken };

  struct Slot {
    std::unique_ptr<uint8_t[], Free> host_buffer;
    std::mutex host_buffer_mutex;
    BufferState state = BufferState::kFree;  ///< guarded by state_mutex
    FrameGeometry geometry;                  ///< of the ready frame; guarded by state_mutex
  };

  /// Takes the next ready frame of that geometry and drops the older ones before it.
  std::optional<int> take_ready(FrameGeometry geometry, const std::atomic<FrameGeometry>& in_force);
  /// Drops the next frame if it is ready.
  bool drop_ready();
  /// Drops the frame that is ready at read_index; hold state_mutex.
  void drop_oldest();
  static int next(int i) { return (i + 1) % kHostBufferCount; }
  Slot& slot(int i) { return slots_[static_cast<size_t>(i)]; }

  size_t buffer_size_;
  std::array<Slot, kHostBufferCount> slots_;
  FairMutex query_mutex_;   ///< serialises consumers for the whole of their wait
  std::mutex state_mutex_;  ///< guards the states of the slots and the indices
  int write_index_ = 0;
  int read_index_ = 0;
  FrameCounters counters_;
};

}  // namespace kxcam
