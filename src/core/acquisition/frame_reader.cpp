// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_reader.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include <pthread.h>

#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "sync/clock.h"
#include "usb/bridge.h"
#include "usb/kxusb.h"
#include "usb/message.h"
#include "usb/requests.h"

namespace kxcam {

namespace {

constexpr uint8_t kNewerBridgeEndpoint = 0x81;
constexpr uint8_t kOlderBridgeEndpoint = 0x82;
constexpr uint32_t kTransferTimeoutMs = 500;
constexpr int kPauseAfterErrorMs = 10;

/// Collects the frames of one camera; lives on the reader thread.
class FrameCollector {
 public:
  explicit FrameCollector(CameraContext& context)
      : context_(context),
        ring_(*context.stream.ring),
        handle_(context.device.usb_handle.load()),
        sensor_pixels_(context.model().SENSOR_ARRAY.pixels()),
        endpoint_(context.model().newer_bridge() ? kNewerBridgeEndpoint : kOlderBridgeEndpoint) {}

  /// One transfer into the buffer that is next.
  void collect() {
    FrameGeometry geometry = context_.stream.geometry.load(std::memory_order_relaxed);
    const std::optional<int> i = ring_.wait_for_free_buffer();
    if (!i) return;
    if (received_ > 0 && geometry != collecting_) drop_received();
    const int32_t chunk = next_chunk(geometry);
    int transferred = 0;
    const int result = transfer(*i, chunk, transferred);
    const int64_t arrived_ns = monotonic_ns();
    context_.stream.counters.bytes.add(static_cast<uint64_t>(transferred));
    set_gone(result == LIBUSB_ERROR_NO_DEVICE);
    if (result == LIBUSB_SUCCESS) {
      geometry = judged_by(geometry, *i, transferred);
      count(*i, geometry, chunk, transferred, arrived_ns);
      collecting_ = geometry;
      if (transferred != chunk) frame_ended();
    } else if (result == LIBUSB_ERROR_TIMEOUT) {
      if (transferred > 0) fate_ = Fate::kTimedOut;
      if (transferred > 0 && transferred != chunk) frame_ended();
    } else {
      context_.stream.counters.transfer_errors.add(1);
      if (fate_ == Fate::kTooLong) fate_ = Fate::kUndecided;  // a camera that is reset sends no rest
      if (kxusb_reset_device(handle_.get()) == LIBUSB_SUCCESS) context_.stream.counters.resets.add(1);
      ring_.pause(kPauseAfterErrorMs);
    }
    // After a time-out or an error the next transfer goes on at the same place.
  }

 private:
  /// What becomes of the frame on the wire, as far as it is known. A frame may need several transfers, and
  /// only a short one ends it.
  enum class Fate : uint8_t { kUndecided, kReady, kTooLong, kTimedOut, kOldGeometry };

  /// Bytes to ask for. The bridge of the 12-bit camera ends some frames after one byte per pixel and some
  /// after two; which it will be shows when the first transfer comes back full.
  int32_t next_chunk(FrameGeometry geometry) const {
    const int32_t expected = geometry.pixels();
    if (received_ > expected) return std::min(blocks_above(2 * expected - received_), kLargestTransfer);
    return std::min({blocks_above(expected), kLargestTransfer, blocks_above(sensor_pixels_ - received_)});
  }

  int transfer(int i, int32_t chunk, int& transferred) {
    const std::lock_guard bytes(ring_.buffer_mutex(i));
    return kxusb_bulk_transfer(handle_.get(), endpoint_, ring_.buffer(i).data() + received_, chunk,
                               &transferred, kTransferTimeoutMs);
  }

  void set_gone(bool gone) {
    if (gone != gone_) ring_.set_gone(gone);
    gone_ = gone;
  }

  void drop_received() {
    received_ = 0;
    if (fate_ == Fate::kUndecided) fate_ = Fate::kOldGeometry;
  }

  /// The geometry that a transfer which was asked for in `asked` is judged by: the one in force at its end.
  /// In trigger mode the transfer that the first frame of a new geometry arrives in has been pending since
  /// before.
  FrameGeometry judged_by(FrameGeometry asked, int i, int transferred) {
    const FrameGeometry now = context_.stream.geometry.load(std::memory_order_relaxed);
    if (now == asked) return now;
    const bool same_length = now.pixels() == asked.pixels();
    const bool same_shape = same_length && now.frame_width == asked.frame_width;
    // A frame of that length may be of either shape. One that runs freely is followed by the next.
    if (same_length && !same_shape && !is_triggered(context_)) return asked;
    if (received_ > 0) {
      const std::lock_guard bytes(ring_.buffer_mutex(i));
      uint8_t* frame = ring_.buffer(i).data();
      std::memmove(frame, frame + received_, static_cast<size_t>(transferred));
    }
    if (received_ > 0 || !same_shape) drop_received();
    return now;
  }

  void count(int i, FrameGeometry geometry, int32_t chunk, int transferred, int64_t arrived_ns) {
    const int32_t expected = geometry.pixels();
    const bool two_bytes = geometry.bytes_per_pixel == 2;
    const int32_t longest = two_bytes ? 2 * expected : expected;
    if (fate_ == Fate::kTooLong) return;  // the rest of that frame, which may well be as long as a whole one
    received_ += transferred;
    if (received_ == expected || received_ == longest) {
      if (received_ != longest) clear_rest(i, expected);
      ring_.mark_ready(i, geometry, stamp(arrived_ns));
      received_ = 0;
      fate_ = Fate::kReady;
    } else if (received_ > longest || transferred != chunk) {
      if (received_ > longest && (fate_ == Fate::kUndecided || fate_ == Fate::kTimedOut))
        fate_ = Fate::kTooLong;
      received_ = 0;  // too long, or ended early: the buffer is filled anew
    }
  }

  FrameStamp stamp(int64_t arrived_ns) const {
    return {.arrived_ns = arrived_ns,
            .exposure_ns = static_cast<int64_t>(context_.exposure_ms() * kNsPerMs),
            .gain = context_.parameter.gain};
  }

  /// A frame of one byte per pixel where two are handed out.
  void clear_rest(int i, int32_t bytes) {
    const std::lock_guard lock(ring_.buffer_mutex(i));
    std::fill_n(ring_.buffer(i).data() + bytes, bytes, uint8_t{0});
  }

  /// Counts the frame unless it went into the ring.
  void frame_ended() {
    switch (std::exchange(fate_, Fate::kUndecided)) {
      case Fate::kReady:
        return;
      case Fate::kUndecided:
        return ring_.lose(&FrameCounters::short_frames);
      case Fate::kTooLong:
        return ring_.lose(&FrameCounters::long_frames);
      case Fate::kTimedOut:
        return ring_.lose(&FrameCounters::timed_out);
      case Fate::kOldGeometry:
        return ring_.lose(&FrameCounters::old_geometry);
    }
  }

  CameraContext& context_;
  FrameRing& ring_;
  DeviceHandle handle_;
  int32_t sensor_pixels_;
  uint8_t endpoint_;
  /// Bytes of the frame on the wire that are in the buffer.
  /// invariant: below what the geometry has in two bytes per pixel, so that a chunk ends within the buffer's
  /// slack.
  int32_t received_ = 0;
  FrameGeometry collecting_;  ///< what `received_` belongs to
  Fate fate_ = Fate::kUndecided;
  bool gone_ = false;  ///< what the ring was told last
};

/// Real-time scheduling for the calling thread if the environment asks for it: between two transfers nobody
/// takes what the camera sends, and a busy system may make that long.
void take_priority() {
  const char* wish = secure_getenv("KXCAM_READER_PRIORITY");
  if (wish == nullptr) return;
  sched_param priority{};
  const char* end = wish + std::strlen(wish);
  const auto [rest, error] = std::from_chars(wish, end, priority.sched_priority);
  const bool number = error == std::errc() && rest == end;
  if (number && pthread_setschedparam(pthread_self(), SCHED_FIFO | SCHED_RESET_ON_FORK, &priority) == 0)
    return;
  try {
    say(nullptr, "KXCAM_READER_PRIORITY has no effect: no number, or none that the system grants.");
  } catch (const std::bad_alloc&) {
    // The thread goes on without a word.
  }
}

bool switch_stream(CameraContext& camera, bridge::Request request) {
  if (!camera.model().newer_bridge()) return true;
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  read_short(handle.get(), request, 0, 0);
  return true;
}

}  // namespace

void reader(CameraContext& context) {
  take_priority();
  FrameCollector collector(context);
  while (context.stream.running) collector.collect();
}

void start_reader(CameraContext& context) {
  context.stream.ring->set_gone(false);
  context.stream.reader_thread = std::thread([&context] { reader(context); });
}

void join_reader(CameraContext& context) {
  if (context.stream.reader_thread.joinable()) context.stream.reader_thread.join();
}

bool start_video(CameraContext& camera) {
  return switch_stream(camera, bridge::kStartStream);
}

bool stop_video(CameraContext& camera) {
  return switch_stream(camera, bridge::kStopStream);
}

}  // namespace kxcam
