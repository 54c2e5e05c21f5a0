// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "answer.h"
#include "handle_table.h"

namespace kxcam::gentl {

/// Where a picture was put and what is known of it.
struct Picture {
  size_t filled = 0;  ///< bytes in the buffer
  size_t size = 0;    ///< bytes of the whole picture
  size_t width = 0;
  size_t height = 0;
  size_t x = 0;
  size_t y = 0;
  uint64_t pixel_format = 0;
  uint64_t frame = 0;
  uint64_t arrived_ns = 0;
  bool complete = false;
};

/// Memory that a consumer announced, or had allocated, for pictures.
class Buffer : public Module {
 public:
  /// Of the consumer; with null memory of its own.
  Buffer(void* memory, size_t size, void* user);

  uint8_t* data() const { return memory_; }
  size_t size() const { return size_; }
  void* user() const { return user_; }
  /// Null when the memory is its own and goes with it.
  void* consumers_memory() const { return own_ == nullptr ? memory_ : nullptr; }

  void info(BufferInfo command, const Answer& answer) const;

  // Of the pool, and guarded as it is.
  enum class State : uint8_t { kIdle, kInput, kFilling, kOutput };
  State state = State::kIdle;
  bool fresh = false;  ///< holds a picture from since it was queued
  Picture picture = {};

 private:
  std::unique_ptr<uint8_t[]> own_;
  uint8_t* memory_;
  size_t size_;
  void* user_;
};

/// The buffers of a stream, the queue of those to fill and the queue of those to deliver. Whoever owns the
/// pool guards it.
///
/// invariant: the buffers in `input_` are those in state kInput, those in `output_` those in kOutput, and at
/// most one is in kFilling.
class BufferPool {
 public:
  using BufferRef = std::shared_ptr<Buffer>;

  void announce(const BufferRef& buffer);
  void revoke(const BufferRef& buffer);
  void queue(const BufferRef& buffer);
  void flush(FlushOperation operation);
  /// Drops all buffers, wherever they are, and gives them away.
  std::vector<BufferRef> take_all();

  /// The next one to fill; null when none is queued.
  BufferRef begin_fill();
  /// Filled: it waits for delivery.
  void finish(const BufferRef& buffer, const Picture& picture);
  /// Not filled: it is the next one again.
  void put_back(const BufferRef& buffer);
  /// The oldest one that waits for delivery, idle from then on; there must be one.
  BufferRef deliver();
  void discard_output();

  bool contains(const BufferRef& buffer) const;
  const BufferRef& at(size_t index) const;
  size_t announced() const { return all_.size(); }
  size_t queued() const { return input_.size(); }
  size_t awaiting_delivery() const { return output_.size(); }
  /// Buffers that were ever finished.
  uint64_t finished() const { return finished_; }

 private:
  void require_own(const BufferRef& buffer) const;
  void discard_input();
  void queue_idle();

  std::vector<BufferRef> all_;
  std::deque<BufferRef> input_;
  std::deque<BufferRef> output_;
  uint64_t finished_ = 0;
};

}  // namespace kxcam::gentl
