// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "core/acquisition/frame_geometry.h"
#include "sync/condition.h"

namespace kxcam {

/// What became of the frames whose end arrived, since the ring was made.
///
/// invariant: ended is the sum of all others. A frame of which the camera sent no end, because it was reset
/// or unplugged meanwhile, is counted with the one that its bytes ran into, or not at all.
struct FrameCounters {
  uint64_t ended = 0;
  uint64_t short_frames = 0;   ///< fewer bytes than the geometry has
  uint64_t long_frames = 0;    ///< more
  uint64_t timed_out = 0;      ///< bytes of which arrived as the transfer was given up
  uint64_t old_geometry = 0;   ///< from before the geometry was changed
  uint64_t flushed = 0;        ///< dropped by a flush, before a trigger shot or by a reconnect
  uint64_t passed_over = 0;    ///< dropped by a query that wanted the newest
  uint64_t delivered = 0;      ///< handed to a program
  uint64_t not_delivered = 0;  ///< taken by a query that failed then
  uint64_t waiting = 0;        ///< in the ring, those that a query is delivering among them
};

/// When a frame arrived and what was set then. The ring gives the number.
struct FrameStamp {
  uint64_t sequence = 0;    ///< frames that ended before it, lost ones too
  int64_t arrived_ns = 0;   ///< monotonic_ns()
  int64_t exposure_ns = 0;  ///< 0: not known
  int32_t gain = 0;
};

inline constexpr int kHostBufferCount = 5;

/// The host buffers between the reader thread, which fills them, and the queries, which empty them
/// in order.
///
/// Lock order: state_mutex is released before a buffer's mutex is taken and is never held across a transfer.
/// Consumers take turns in the order in which they came.
///
/// invariant: the reader writes free buffers only; a buffer is ready until a query takes it, and taken until
/// that query hands it back.
/// invariant: write_index and read_index lie in 0..kHostBufferCount - 1 and move forward by one.
class FrameRing {
 public:
  /// The geometry in force and whether frames may still come; call wake() after a change of either.
  struct Acquisition {
    const std::atomic<FrameGeometry>& geometry;
    const std::atomic<bool>& running;
  };

  /// Room in every buffer for two bytes per sensor pixel, the most a query can copy, and the slack of
  /// the last USB transfer. Throws std::bad_alloc.
  FrameRing(int32_t sensor_pixels, Acquisition acquisition);

  /// Reader: the buffer to fill next, once it is free. Nothing when acquisition stopped while it was not.
  std::optional<int> wait_for_free_buffer();

  /// Reader: sleeps for that long, unless acquisition stops.
  void pause(int ms);

  /// Reader: buffer `i` holds a whole frame of that geometry.
  void mark_ready(int i, FrameGeometry geometry, FrameStamp stamp = {});

  /// Reader: a frame ended that did not become ready, for that cause.
  void lose(uint64_t FrameCounters::*cause);

  /// Whether the device is there; a consumer that asked for it ends its wait when it is not.
  void set_gone(bool gone);
  bool gone();

  /// Keeps the consumers that asked for it from waiting.
  void interrupt(bool on);

  /// Ends the waits that a change of Acquisition ends, and drops the frames of another geometry.
  void wake();

  /// How a consumer waits.
  struct Wait {
    int64_t limit_ms = 0;          ///< at least; below 0 without an end
    bool newest = false;           ///< passes over the frames before the newest
    bool interruptible = false;    ///< ends by interrupt() and set_gone() too
    bool counts_from_turn = true;  ///< the limit begins when the consumers before are served
  };
  enum class Outcome : uint8_t { kTaken, kNoFrame, kInterrupted, kGone };
  struct Taken {
    Outcome outcome = Outcome::kNoFrame;
    int buffer = -1;
    FrameStamp stamp = {};
    int behind = 0;  ///< frames that wait behind it
  };

  /// Consumer: takes the next frame of that geometry; frames from before a change of geometry are dropped.
  /// kNoFrame when none came, acquisition stopped or another geometry came into force: the frames of that one
  /// stay for those who ask for them. Hand the buffer back with release().
  Taken take(FrameGeometry geometry, const Wait& wait);

  /// Consumer: buffer `i` may be filled again. `delivered`: its frame reached the program.
  void release(int i, bool delivered);

  /// Drops the frames that are ready or become ready within 200 ms, at most one ring full.
  void flush();

  /// Drops the frames that are ready, without waiting; a query that waits goes on waiting.
  void drop_ready_frames();

  /// Frames that are ready, 0..kHostBufferCount.
  int waiting();

  /// All of one moment.
  FrameCounters counters();

  /// How long the reader found no free buffer, the present stall included.
  int64_t full_ns();

  /// A descriptor that is readable while a frame of the geometry in force is ready, the device is gone or
  /// consumers are interrupted. Throws std::system_error.
  int descriptor();

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
    BufferState state = BufferState::kFree;  ///< this and all below: guarded by state_mutex
    FrameGeometry geometry;                  ///< of the ready frame
    FrameStamp stamp;                        ///< likewise
  };

  class Turn;

  // All below: hold state_mutex.

  /// Takes the next ready frame of that geometry and drops those before it.
  std::optional<int> take_ready(FrameGeometry geometry, bool newest);
  /// Drops the frame that is ready at read_index.
  void drop_oldest(uint64_t FrameCounters::*cause);
  bool oldest_is_ready() { return slot(read_index_).state == BufferState::kReady; }
  int count(BufferState state) const;
  FrameGeometry geometry_in_force() const { return acquisition_.geometry.load(std::memory_order_relaxed); }
  /// Makes the descriptor say what there is; after every change of that.
  void announce();

  static int next(int i) { return (i + 1) % kHostBufferCount; }
  Slot& slot(int i) { return slots_[static_cast<size_t>(i)]; }

  const Acquisition acquisition_;
  size_t buffer_size_;
  std::array<Slot, kHostBufferCount> slots_;
  std::mutex state_mutex_;         ///< guards all below, and the states of the slots
  Condition for_reader_;           ///< a buffer is free, or acquisition stopped
  Condition for_consumers_;        ///< anything else changed
  std::deque<const Turn*> turns_;  ///< of the consumers, the first one's first
  int write_index_ = 0;
  int read_index_ = 0;
  bool gone_ = false;
  bool interrupted_ = false;
  FrameCounters counters_;
  int64_t full_since_ns_ = kNever;      ///< kNever: the reader has a buffer
  int64_t full_before_ns_ = 0;          ///< in the stalls before
  std::optional<Readiness> readiness_;  ///< once somebody asked for it
};

}  // namespace kxcam
