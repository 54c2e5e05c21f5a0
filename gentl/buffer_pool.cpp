// SPDX-License-Identifier: Apache-2.0
#include "buffer_pool.h"

#include <algorithm>
#include <utility>

#include "version.h"

namespace kxcam::gentl {

Buffer::Buffer(void* memory, size_t size, void* user) : size_(size), user_(user) {
  if (size == 0) fail(kInvalidParameter, "a buffer of no bytes");
  if (memory == nullptr) own_.reset(new uint8_t[size]());
  memory_ = memory == nullptr ? own_.get() : static_cast<uint8_t*>(memory);
}

void Buffer::info(BufferInfo command, const Answer& answer) const {
  switch (command) {
    case BufferInfo::kBase:
      return answer.pointer(memory_);
    case BufferInfo::kSize:
      return answer.size(size_);
    case BufferInfo::kUser:
      return answer.pointer(user_);
    case BufferInfo::kTimestamp:
    case BufferInfo::kTimestampNs:
      return answer.uint64(picture.arrived_ns);
    case BufferInfo::kNewData:
      return answer.flag(fresh);
    case BufferInfo::kQueued:
      return answer.flag(state != State::kIdle);
    case BufferInfo::kAcquiring:
      return answer.flag(state == State::kFilling);
    case BufferInfo::kIncomplete:
      return answer.flag(!picture.complete);
    case BufferInfo::kType:
      return answer.text(kTypeText);
    case BufferInfo::kFilled:
      return answer.size(picture.filled);
    case BufferInfo::kWidth:
      return answer.size(picture.width);
    case BufferInfo::kHeight:
    case BufferInfo::kDeliveredHeight:
      return answer.size(picture.height);
    case BufferInfo::kOffsetX:
      return answer.size(picture.x);
    case BufferInfo::kOffsetY:
      return answer.size(picture.y);
    case BufferInfo::kPaddingX:
    case BufferInfo::kPaddingY:
    case BufferInfo::kImageOffset:
    case BufferInfo::kDeliveredChunks:
      return answer.size(0);
    case BufferInfo::kFrameId:
      return answer.uint64(picture.frame);
    case BufferInfo::kImagePresent:
      return answer.flag(picture.filled > 0);
    case BufferInfo::kPayloadType:
      return answer.size(kPayloadImage);
    case BufferInfo::kPixelFormat:
      return answer.uint64(picture.pixel_format);
    case BufferInfo::kPixelNamespace:
      return answer.uint64(kPixelNames32);
    case BufferInfo::kEndianness:
      return answer.int32(kLittleEndianData);
    case BufferInfo::kDataSize:
      return answer.size(picture.size);
    case BufferInfo::kLargerThanBuffer:
      return answer.flag(picture.size > picture.filled);
    case BufferInfo::kContainsChunks:
    case BufferInfo::kIsComposite:
      return answer.flag(false);
    case BufferInfo::kChunkLayout:
    case BufferInfo::kFileName:
      break;
  }
  fail_unknown_info();
}

void BufferPool::announce(const BufferRef& buffer) {
  const auto same = [&](const BufferRef& each) { return each->data() == buffer->data(); };
  if (std::ranges::any_of(all_, same)) fail(kResourceInUse, "this memory is announced already");
  all_.push_back(buffer);
}

void BufferPool::revoke(const BufferRef& buffer) {
  require_own(buffer);
  if (buffer->state != Buffer::State::kIdle) fail(kBusy, "the buffer is queued");
  std::erase(all_, buffer);
}

void BufferPool::queue(const BufferRef& buffer) {
  require_own(buffer);
  if (buffer->state != Buffer::State::kIdle) fail(kResourceInUse, "the buffer is queued already");
  input_.push_back(buffer);
  buffer->state = Buffer::State::kInput;
  buffer->fresh = false;
  buffer->picture = {};
}

void BufferPool::flush(FlushOperation operation) {
  switch (operation) {
    case FlushOperation::kInputToOutput:
      while (!input_.empty()) finish(begin_fill(), {});
      return;
    case FlushOperation::kDiscardOutput:
      return discard_output();
    case FlushOperation::kAllToInput:
      discard_output();
      return queue_idle();
    case FlushOperation::kUnqueuedToInput:
      return queue_idle();
    case FlushOperation::kDiscardAll:
      discard_output();
      return discard_input();
  }
  fail(kInvalidParameter, "no such way to flush");
}

std::vector<BufferPool::BufferRef> BufferPool::take_all() {
  input_.clear();
  output_.clear();
  return std::exchange(all_, {});
}

BufferPool::BufferRef BufferPool::begin_fill() {
  if (input_.empty()) return nullptr;
  BufferRef next = std::move(input_.front());
  input_.pop_front();
  next->state = Buffer::State::kFilling;
  return next;
}

void BufferPool::finish(const BufferRef& buffer, const Picture& picture) {
  buffer->state = Buffer::State::kIdle;  // it is when there is no memory for the queue
  output_.push_back(buffer);
  ++finished_;
  buffer->state = Buffer::State::kOutput;
  buffer->picture = picture;
  buffer->fresh = picture.filled > 0;
}

void BufferPool::put_back(const BufferRef& buffer) {
  buffer->state = Buffer::State::kIdle;
  input_.push_front(buffer);
  buffer->state = Buffer::State::kInput;
}

BufferPool::BufferRef BufferPool::deliver() {
  BufferRef oldest = std::move(output_.front());
  output_.pop_front();
  oldest->state = Buffer::State::kIdle;
  return oldest;
}

bool BufferPool::contains(const BufferRef& buffer) const {
  return std::ranges::find(all_, buffer) != all_.end();
}

const BufferPool::BufferRef& BufferPool::at(size_t index) const {
  if (index >= all_.size()) fail(kInvalidIndex, "no such buffer");
  return all_[index];
}

void BufferPool::require_own(const BufferRef& buffer) const {
  if (!contains(buffer)) fail(kInvalidHandle, "a buffer of another stream");
}

void BufferPool::discard_output() {
  while (!output_.empty()) deliver()->fresh = false;
}

void BufferPool::discard_input() {
  for (const BufferRef& buffer : input_) buffer->state = Buffer::State::kIdle;
  input_.clear();
}

void BufferPool::queue_idle() {
  for (const BufferRef& buffer : all_) {
    if (buffer->state == Buffer::State::kIdle) queue(buffer);
  }
}

}  // namespace kxcam::gentl
