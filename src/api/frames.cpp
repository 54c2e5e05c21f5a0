// SPDX-License-Identifier: Apache-2.0
#include "api/extra_boundary.h"
#include "core/acquisition/image_query.h"
#include "core/picture/isp.h"

using namespace kxcam;

namespace {

/// A query leaves no code for an index out of range.
template <class Query>
uint32_t query(int index, Query operation) {
  const bool possible = index >= 0 && index < kMaxCameras;
  return possible ? api::with_camera(index, operation) : api::run([] { return false; });
}

kxcam_state state_of(const CameraContext& camera) {
  if (camera.stream.ring == nullptr) return KXCAM_IDLE;
  return camera.stream.ring->gone() ? KXCAM_GONE : KXCAM_STREAMING;
}

FrameRing* ring_of(CameraContext& camera) {
  if (camera.stream.ring == nullptr) set_last_error(KXCAM_ERROR_NO_DEVICE);
  return camera.stream.ring.get();
}

kxcam_frame frame_info(const DeliveredFrame& frame, int format) {
  const FrameStamp& stamp = frame.taken.stamp;
  return {.sequence = stamp.sequence,
          .arrived_ns = stamp.arrived_ns,
          .exposure_ns = stamp.exposure_ns,
          .width = frame.width,
          .height = frame.height,
          .format = format,
          .gain = stamp.gain,
          .waiting = frame.taken.behind,
          .reserved = 0};
}

kxcam_statistics statistics_of(CameraContext& camera) {
  FrameCounters frames;
  int64_t full_ns = 0;
  if (FrameRing* ring = camera.stream.ring.get(); ring != nullptr) {
    frames = ring->counters();
    full_ns = ring->full_ns();
  }
  const StreamCounters& stream = camera.stream.counters;
  return {.ended = frames.ended,
          .delivered = frames.delivered,
          .too_short = frames.short_frames,
          .too_long = frames.long_frames,
          .timed_out = frames.timed_out,
          .old_geometry = frames.old_geometry,
          .flushed = frames.flushed,
          .passed_over = frames.passed_over,
          .failed = frames.not_delivered,
          .bytes = stream.bytes,
          .transfer_errors = stream.transfer_errors,
          .resets = stream.resets,
          .reconnects = stream.reconnects,
          .ring_full_ns = static_cast<uint64_t>(full_ns),
          .waiting = static_cast<int32_t>(frames.waiting),
          .state = state_of(camera)};
}

}  // namespace

uint32_t CameraQueryImage(int camera, uint8_t* image, int* size, int format) {
  return query(camera, [=](CameraContext& context) { return query_image(context, image, size, format); });
}

uint32_t CameraQueryImage2(int camera, uint8_t* image, int* size, int* index, int format) {
  return query(camera,
               [=](CameraContext& context) { return query_image2(context, image, size, index, format); });
}

uint32_t CameraQueryImageLV(int camera, uint32_t* image, int* size, int format) {
  return query(camera, [=](CameraContext& context) { return query_image_lv(context, image, size, format); });
}

uint32_t CameraISP(int camera, uint8_t* in, uint8_t* out, int width, int height, int format) {
  return api::with_camera(camera, isp, in, out, width, height, format);
}

uint32_t CameraClearHostBuffer(int camera) {
  return api::with_camera(camera, clear_host_buffer);
}

uint32_t CameraSetTimeout(int camera, int milliseconds) {
  return api::with_camera(camera, set_time_out, milliseconds);
}

uint32_t CameraGetTimeout(int camera, int* milliseconds) {
  return api::get(camera, milliseconds, get_time_out);
}

int kxcam_query(int camera, void* image, size_t size, int format, int timeout_ms, unsigned flags,
                kxcam_frame* frame, size_t frame_size) {
  const bool valid = image != nullptr && (flags & ~unsigned{KXCAM_QUERY_NEWEST}) == 0;
  return api::cause_with_camera(camera, valid, [&](CameraContext& context) {
    const FrameRing::Wait wait{.limit_ms = timeout_ms,
                               .newest = (flags & KXCAM_QUERY_NEWEST) != 0,
                               .interruptible = true,
                               .counts_from_turn = false};
    DeliveredFrame delivered;
    if (!query_frame(context, static_cast<uint8_t*>(image), size, format, wait, delivered)) {
      const bool interrupted = delivered.taken.outcome == FrameRing::Outcome::kInterrupted;
      return interrupted && api::fail_extra(KXCAM_ERROR_INTERRUPTED);
    }
    if (frame != nullptr) api::hand_out(frame_info(delivered, format), frame, frame_size);
    return true;
  });
}

int kxcam_interrupt(int camera, bool on) {
  return api::cause_with_camera(camera, true, [&](CameraContext& context) {
    FrameRing* ring = ring_of(context);
    if (ring != nullptr) ring->interrupt(on);
    return ring != nullptr;
  });
}

int kxcam_frame_fd(int camera, int* fd) {
  return api::cause_with_camera(camera, fd != nullptr, [&](CameraContext& context) {
    FrameRing* ring = ring_of(context);
    if (ring != nullptr) *fd = ring->descriptor();
    return ring != nullptr;
  });
}

int kxcam_get_statistics(int camera, kxcam_statistics* statistics, size_t size) {
  return api::cause_with_camera(camera, statistics != nullptr, [&](CameraContext& context) {
    api::hand_out(statistics_of(context), statistics, size);
    return true;
  });
}
