// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_reader.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#include "core/registry/camera_context.h"
#include "sync/clock.h"
#include "usb/kxusb.h"

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
    // A frame is one byte per pixel on the wire, whatever the depth of the samples.
    const FrameGeometry geometry = context_.stream.geometry.load(std::memory_order_relaxed);
    const int32_t expected = geometry.pixels();
    const std::optional<int> i = ring_.wait_for_free_buffer(context_.stream.running);
    if (!i) return;
    const int32_t chunk = std::min(std::min(blocks_above(expected), kLargestTransfer),
                                   blocks_above(sensor_pixels_ - received_));
    int transferred = 0;
    const int result = transfer(*i, chunk, transferred);
    if (result == LIBUSB_SUCCESS) {
      count(*i, geometry, chunk, transferred);
      if (transferred != chunk) frame_ended();
    } else if (result == LIBUSB_ERROR_TIMEOUT) {
      if (transferred > 0) fate_ = Fate::kTimedOut;
      if (transferred > 0 && transferred != chunk) frame_ended();
    } else {
      kxusb_reset_device(handle_.get());
      sysdelay(kPauseAfterErrorMs);
    }
    // After a time-out or an error the next transfer goes on at the same place.
  }

 private:
  /// What becomes of the frame on the wire, as far as it is known. A frame may need several transfers, and
  /// only a short one ends it.
  enum class Fate : uint8_t { kUndecided, kReady, kTooLong, kTimedOut };

  int transfer(int i, int32_t chunk, int& transferred) {
    const std::lock_guard bytes(ring_.buffer_mutex(i));
    return kxusb_bulk_transfer(handle_.get(), endpoint_, ring_.buffer(i).data() + received_, chunk,
                               &transferred, kTransferTimeoutMs);
  }

  void count(int i, FrameGeometry geometry, int32_t chunk, int transferred) {
    const int32_t expected = geometry.pixels();
    received_ += transferred;
    if (received_ == expected) {
      ring_.mark_ready(i, geometry);
      received_ = 0;
      fate_ = Fate::kReady;
    } else if (received_ > expected || transferred != chunk) {
      if (received_ > expected && fate_ != Fate::kReady) fate_ = Fate::kTooLong;
      received_ = 0;  // too long, or ended early: the buffer is filled anew
    }
  }

  /// Counts the frame unless it went into the ring.
  void frame_ended() {
    FrameCounters& counters = ring_.counters();
    const Fate fate = std::exchange(fate_, Fate::kUndecided);
    if (fate == Fate::kUndecided) counters.short_frames.add(1);
    if (fate == Fate::kTooLong) counters.long_frames.add(1);
    if (fate == Fate::kTimedOut) counters.timed_out.add(1);
  }

  CameraContext& context_;
  FrameRing& ring_;
  DeviceHandle handle_;
  int32_t sensor_pixels_;
  uint8_t endpoint_;
  /// invariant: at most sensor_pixels_, so that a chunk ends within the buffer's slack.
  int32_t received_ = 0;
  Fate fate_ = Fate::kUndecided;
};

}  // namespace

void reader(CameraContext& context) {
  FrameCollector collector(context);
  while (context.stream.running) collector.collect();
}

void start_reader(CameraContext& context) {
  context.stream.reader_thread = std::thread([&context] { reader(context); });
}

void join_reader(CameraContext& context) {
  if (context.stream.reader_thread.joinable()) context.stream.reader_thread.join();
}

}  // namespace kxcam
