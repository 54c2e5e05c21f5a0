// SPDX-License-Identifier: Apache-2.0
#include "stream.h"

#include <chrono>
#include <cstring>
#include <new>
#include <utility>

#include "version.h"

namespace kxcam::gentl {

/// Its queue is the stream's queue of filled buffers: what is flushed there is gone here.
class Stream::NewBufferEvent : public Event {
 public:
  explicit NewBufferEvent(std::shared_ptr<Stream> stream)
      : Event(EventKind::kNewBuffer), stream_(std::move(stream)) {
    const std::lock_guard lock(stream_->mutex());
    finished_before_ = stream_->pool_.finished();
  }

  void data_info(const void* data, size_t size, EventDataInfo command, const Answer& answer) const override {
    if (data == nullptr || size < sizeof(NewBuffer))
      fail(kInvalidParameter, "these are not the data of this event");
    NewBuffer entry;
    std::memcpy(&entry, data, sizeof entry);
    switch (command) {
      case EventDataInfo::kId:
        return answer.pointer(entry.buffer);
      case EventDataInfo::kValue:
        return answer.pointer(entry.user);
      case EventDataInfo::kNumber:
        break;
    }
    fail_unknown_info();
  }

 private:
  std::mutex& mutex() override { return stream_->mutex(); }
  std::condition_variable& changed() override { return stream_->camera_->changed(); }
  uint64_t stops() const override { return stream_->stops_; }
  uint64_t fired() const override { return stream_->pool_.finished() - finished_before_; }
  size_t waiting() const override { return stream_->pool_.awaiting_delivery(); }
  size_t entry_size() const override { return sizeof(NewBuffer); }
  void pop(void* room) override {
    const auto buffer = stream_->pool_.deliver();
    const NewBuffer entry{buffer->handle(), buffer->user()};
    std::memcpy(room, &entry, sizeof entry);
  }
  void clear() override { stream_->pool_.discard_output(); }

  const std::shared_ptr<Stream> stream_;
  uint64_t finished_before_;
};

std::vector<Feature> Stream::features(Stream& stream) {
  constexpr const char* kCategory = "StreamInformation";
  const auto number = [&stream](const char* name, const char* tooltip, auto count) {
    return Feature{.name = name,
                   .kind = Feature::Kind::kInteger,
                   .category = "BufferHandlingControl",
                   .tooltip = tooltip,
                   .visibility = Feature::Visibility::kExpert,
                   .get = [&stream, count] {
                     const std::lock_guard lock(stream.mutex());
                     return Value(static_cast<int64_t>(count(stream)));
                   }};
  };
  return {
      fixed_text("StreamID", kCategory, "Name of the stream", kStreamId),
      fixed_text("StreamType", kCategory, "Kind of the stream", kTypeText),
      number("StreamAnnouncedBufferCount", "Buffers that are announced",
             [](const Stream& of) { return of.pool_.announced(); }),
      number("StreamInputBufferCount", "Buffers that wait to be filled",
             [](const Stream& of) { return of.pool_.queued(); }),
      number("StreamOutputBufferCount", "Filled buffers that wait for the program",
             [](const Stream& of) { return of.pool_.awaiting_delivery(); }),
      number("StreamStartedFrameCount", "Pictures begun since acquisition was started",
             [](const Stream& of) { return of.started_; }),
      number("StreamDeliveredFrameCount", "Pictures delivered since acquisition was started",
             [](const Stream& of) { return of.delivered_; }),
      number("StreamLostFrameCount", "Pictures lost since acquisition was started as no buffer was queued",
             [](const Stream& of) { return of.underrun_; }),
      {.name = "StreamIsGrabbing",
       .kind = Feature::Kind::kSwitch,
       .category = "BufferHandlingControl",
       .tooltip = "Acquisition is started",
       .get =
           [&stream] {
             const std::lock_guard lock(stream.mutex());
             return Value(int64_t{stream.grabbing_});
           }},
  };
}

Stream::Stream(std::shared_ptr<Camera> camera, Handle device)
    : camera_(std::move(camera)),
      device_(device),
      port_({.id = kStreamId, .module = "TLDataStream", .model = "kxcam stream"},
            {.model = "kxcam_stream",
             .tooltip = "Stream of a kxcam camera",
             .product_guid = "9c1f0f5e-7a34-4a0b-8a52-5b2d4de1a7c4"},
            features(*this)) {}

Stream::~Stream() {
  close();
}

std::shared_ptr<Event> Stream::new_event(EventKind kind) {
  if (kind != EventKind::kNewBuffer) return PortModule::new_event(kind);
  return std::make_shared<NewBufferEvent>(std::static_pointer_cast<Stream>(shared_from_this()));
}

std::shared_ptr<Buffer> Stream::find(Handle buffer) const {
  auto found = HandleTable::instance().find<Buffer>(buffer);
  if (!pool_.contains(found)) fail(kInvalidHandle, "a buffer of another stream");
  return found;
}

Handle Stream::enter(const std::shared_ptr<Buffer>& buffer) {
  const std::lock_guard lock(mutex());
  if (closed_) fail(kInvalidHandle, "the stream is closed");
  pool_.announce(buffer);
  try {
    return HandleTable::instance().enter(buffer);
  } catch (...) {
    pool_.revoke(buffer);
    throw;
  }
}

Handle Stream::announce(void* memory, size_t size, void* user) {
  required(static_cast<char*>(memory));
  return enter(std::make_shared<Buffer>(memory, size, user));
}

Handle Stream::allocate(size_t size, void* user) {
  return enter(std::make_shared<Buffer>(nullptr, size, user));
}

void Stream::revoke(Handle buffer, void** memory, void** user) {
  const std::lock_guard lock(mutex());
  const auto found = find(buffer);
  pool_.revoke(found);
  HandleTable::instance().remove(*found);
  if (memory != nullptr) *memory = found->consumers_memory();
  if (user != nullptr) *user = found->user();
}

void Stream::queue(Handle buffer) {
  const std::lock_guard lock(mutex());
  pool_.queue(find(buffer));
  notify();
}

Handle Stream::buffer_at(uint32_t index) {
  const std::lock_guard lock(mutex());
  return pool_.at(index)->handle();
}

void Stream::flush(FlushOperation operation) {
  const std::lock_guard lock(mutex());
  pool_.flush(operation);
  notify();
}

void Stream::notify() {
  camera_->changed().notify_all();
}

void Stream::require_buffer(Handle buffer) {
  const std::lock_guard lock(mutex());
  find(buffer);
}

void Stream::start(uint64_t pictures) {
  const std::lock_guard control(control_);
  {
    const std::lock_guard lock(mutex());
    if (closed_) fail(kInvalidHandle, "the stream is closed");
    if (grabbing_) fail(kResourceInUse, "acquisition is started already");
    if (pool_.announced() == 0) fail(kInvalidBuffer, "no buffer is announced");
    if (pictures == 0) fail(kInvalidParameter, "no picture is asked for");
  }
  end_thread();  // of a stream that was counted
  const std::lock_guard lock(mutex());
  counted_ = pictures != kForEver;
  left_ = pictures;
  delivered_ = underrun_ = started_ = 0;
  ending_ = false;
  thread_ = std::thread([this] { run(); });
  grabbing_ = true;
}

void Stream::stop() {
  const std::lock_guard control(control_);
  {
    const std::lock_guard lock(mutex());
    if (!grabbing_) fail(kResourceInUse, "acquisition is not started");
  }
  end_thread();
  const std::lock_guard lock(mutex());
  ++stops_;
  notify();
}

void Stream::end_thread() {
  {
    const std::lock_guard lock(mutex());
    ending_ = true;
    notify();
  }
  if (!thread_.joinable()) return;
  camera_->interrupt();
  thread_.join();
  const std::lock_guard lock(mutex());
  grabbing_ = false;
}

void Stream::close() {
  std::vector<BufferPool::BufferRef> buffers;
  {
    const std::lock_guard control(control_);
    end_thread();
    const std::lock_guard lock(mutex());
    closed_ = true;
    buffers = pool_.take_all();
  }
  for (const auto& buffer : buffers) HandleTable::instance().remove(*buffer);
  events().close();
  port_.close();
}

/// To be called where an exception is handled.
void Stream::report_failure() noexcept {
  keep_failure();
  try {
    events().report(last_failure().status, last_failure().text);
  } catch (const std::bad_alloc&) {
    // There is no memory to tell of it.
  }
}

/// Fills the next buffer, unless none comes in time to wait for.
void Stream::take_picture(std::unique_lock<std::mutex>& lock) {
  const auto buffer = pool_.begin_fill();
  ++started_;
  camera_->begin_query();
  lock.unlock();
  Picture picture;
  Camera::Outcome outcome = Camera::Outcome::kNothing;
  // Nothing may leave here before the lock is taken again and the query ended.
  try {
    outcome = camera_->query(*buffer, picture);
    if (outcome == Camera::Outcome::kGone) camera_->report_loss();
  } catch (const std::exception&) {
    report_failure();
  }
  lock.lock();
  const bool delivered = outcome == Camera::Outcome::kPicture;
  camera_->end_query(delivered);
  if (!delivered) {
    --started_;
    pool_.put_back(buffer);
    // What ended the query may go on for a while: a change of the geometry, a reset.
    const auto pause = std::chrono::milliseconds(1);
    camera_->changed().wait_for(lock, pause, [this] { return ending_ || !camera_->wants_picture(); });
    return;
  }
  pool_.finish(buffer, picture);
  ++delivered_;
  if (counted_) --left_;
  notify();
}

/// No buffer is queued. What the ring cannot keep is lost, and counted.
void Stream::pass_over(std::unique_lock<std::mutex>& lock) {
  camera_->begin_query();
  lock.unlock();
  bool dropped = false;
  try {
    dropped = camera_->drop_if_full();
  } catch (const std::exception&) {
    keep_failure();  // the query that follows tells it
  }
  lock.lock();
  camera_->end_query(false);
  if (dropped) {
    ++underrun_;
    return;
  }
  const auto interval = std::chrono::milliseconds(2);
  camera_->changed().wait_for(lock, interval, [this] { return ending_ || pool_.queued() > 0; });
}

void Stream::run() {
  std::unique_lock lock(mutex());
  for (;;) {
    const auto wanted = [this] { return camera_->wants_picture() && (!counted_ || left_ > 0); };
    camera_->changed().wait(lock, [&] { return ending_ || wanted(); });
    if (ending_) return;
    try {
      if (pool_.queued() > 0) {
        take_picture(lock);
      } else {
        pass_over(lock);
      }
    } catch (const std::bad_alloc&) {
      // The picture is lost, and its buffer to be queued again. The process is somebody else's: it must not
      // end.
      keep_failure();
    }
  }
}

void Stream::info(StreamInfo command, const Answer& answer) {
  if (command == StreamInfo::kPayloadSize) return answer.size(camera_->payload_size());
  const std::lock_guard lock(mutex());
  switch (command) {
    case StreamInfo::kId:
      return answer.text(kStreamId);
    case StreamInfo::kDelivered:
      return answer.uint64(delivered_);
    case StreamInfo::kUnderrun:
      return answer.uint64(underrun_);
    case StreamInfo::kAnnounced:
      return answer.size(pool_.announced());
    case StreamInfo::kQueued:
      return answer.size(pool_.queued());
    case StreamInfo::kAwaitingDelivery:
      return answer.size(pool_.awaiting_delivery());
    case StreamInfo::kStarted:
      return answer.uint64(started_);
    case StreamInfo::kGrabbing:
      return answer.flag(grabbing_);
    case StreamInfo::kDefinesPayload:
      return answer.flag(false);  // the feature PayloadSize tells it
    case StreamInfo::kType:
      return answer.text(kTypeText);
    case StreamInfo::kMostChunks:
      return answer.size(0);
    case StreamInfo::kLeastBuffers:
    case StreamInfo::kAlignment:
      return answer.size(1);
    case StreamInfo::kPayloadSize:
      break;
  }
  fail_unknown_info();
}

void Stream::buffer_info(Handle buffer, BufferInfo command, const Answer& answer) {
  const std::lock_guard lock(mutex());
  find(buffer)->info(command, answer);
}

}  // namespace kxcam::gentl
