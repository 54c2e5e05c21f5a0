// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace kxcam {

/// Memory that begins at a cache line and is kept from one use to the next: it grows to the largest use
/// and never shrinks.
class WorkMemory {
 public:
  /// At least `bytes` bytes, holding zeros or what the last use left; null when memory runs out. What an
  /// earlier call returned is no longer valid.
  uint8_t* reserve(size_t bytes);

 private:
  struct alignas(64) CacheLine {
    std::array<uint8_t, 64> bytes;
  };

  std::vector<CacheLine> lines_;
};

/// What one frame is worked on in.
struct FrameMemory {
  WorkMemory samples;  ///< the frame reduced to 8 bits, for a model with 12
  WorkMemory rows;     ///< the rows around the one that is being made
};

/// The frame memory of one camera, which keeps it so that only the first frames allocate any.
///
/// invariant: a frame memory is either in here or in one lease, so frames that are made side by side never
/// share one; there are no more than were ever leased at once. Thread-safe.
class FrameMemoryPool {
 public:
  class Lease {
   public:
    explicit Lease(FrameMemoryPool& pool) : pool_(pool), memory_(pool.take()) {}
    ~Lease() { pool_.give_back(memory_); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    FrameMemory& operator*() { return memory_; }

   private:
    FrameMemoryPool& pool_;
    FrameMemory memory_;
  };

 private:
  FrameMemory take();
  void give_back(FrameMemory& memory) noexcept;

  std::mutex mutex_;
  std::vector<FrameMemory> idle_;  ///< guarded by mutex_; the one used last, which the caches know, is last
};

inline uint8_t* WorkMemory::reserve(size_t bytes) try {
  const size_t lines = (bytes + sizeof(CacheLine) - 1) / sizeof(CacheLine);
  if (lines > lines_.size()) {
    lines_ = {};  // so that there are never two, and nothing is copied
    lines_.resize(lines);
  }
  return reinterpret_cast<uint8_t*>(lines_.data());
} catch (const std::bad_alloc&) {
  return nullptr;
}

inline FrameMemory FrameMemoryPool::take() {
  const std::lock_guard lock(mutex_);
  if (idle_.empty()) return {};
  FrameMemory memory = std::move(idle_.back());
  idle_.pop_back();
  return memory;
}

inline void FrameMemoryPool::give_back(FrameMemory& memory) noexcept try {
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(memory));
} catch (const std::bad_alloc&) {
  // Then it goes with its lease, and another frame allocates its own.
}

}  // namespace kxcam
