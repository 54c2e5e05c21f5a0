// SPDX-License-Identifier: Apache-2.0
#include "isp/frame_memory.h"

#include <new>
#include <utility>

namespace kxcam {

uint8_t* WorkMemory::reserve(size_t bytes) try {
  const size_t lines = (bytes + sizeof(CacheLine) - 1) / sizeof(CacheLine);
  if (lines > lines_.size()) {
    lines_ = {};  // so that there are never two, and nothing is copied
    lines_.resize(lines);
  }
  return reinterpret_cast<uint8_t*>(lines_.data());
} catch (const std::bad_alloc&) {
  return nullptr;
}

FrameMemory FrameMemoryPool::take() {
  const std::lock_guard lock(mutex_);
  if (idle_.empty()) return {};
  FrameMemory memory = std::move(idle_.back());
  idle_.pop_back();
  return memory;
}

void FrameMemoryPool::give_back(FrameMemory& memory) noexcept try {
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(memory));
} catch (const std::bad_alloc&) {
  // Then it goes with its lease, and another frame allocates its own.
}

}  // namespace kxcam
