// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/image_query.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

#include "core/control/registers.h"
#include "core/picture/isp.h"
#include "core/registry/camera_context.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr int kShortestTimeoutMs = 500;
constexpr int kLongestTimeoutMs = 50000;

int color_pixel_bytes(int format) {
  return (format & KXCAM_FORMAT_32BIT) != 0 ? 4 : 3;
}

/// Bytes that a picture of a raw frame of that geometry takes.
int image_bytes(const FrameGeometry& geometry, int format) {
  const int pixels = geometry.pixels();
  if ((format & KXCAM_FORMAT_RAW) != 0) return pixels * static_cast<int>(geometry.bytes_per_pixel);
  if ((format & KXCAM_FORMAT_GREY) != 0) return pixels;
  return pixels * color_pixel_bytes(format);
}

/// Milliseconds that a query waits: a long exposure gets at least its own duration.
int64_t wait_limit(const CameraContext& context) {
  return std::max<int32_t>(context.parameter.time_out, static_cast<int32_t>(context.exposure_ms()));
}

/// A buffer that a query has taken; goes back into the ring also when making the picture throws.
class TakenFrame {
 public:
  TakenFrame(FrameRing& ring, int i) : ring_(ring), i_(i) {}
  ~TakenFrame() { ring_.release(i_, delivered); }
  TakenFrame(const TakenFrame&) = delete;
  TakenFrame& operator=(const TakenFrame&) = delete;

  bool delivered = false;

 private:
  FrameRing& ring_;
  int i_;
};

/// Makes the picture of the frame in ring buffer `i`.
bool deliver(CameraContext& context, int i, FrameGeometry geometry, uint8_t* out, int format) {
  const std::lock_guard bytes(context.stream.ring->buffer_mutex(i));
  uint8_t* frame = context.stream.ring->buffer(i).data();
  if ((format & KXCAM_FORMAT_RAW) != 0) {
    std::memcpy(out, frame, static_cast<size_t>(image_bytes(geometry, format)));
    context.stream.frames_delivered.add(1);
    return true;
  }
  return isp_raw_frame(context, frame, out, geometry, format);
}

}  // namespace

bool get_image_size(const CameraContext& camera, int* width, int* height) {
  const FrameGeometry geometry = camera.stream.geometry;
  if ((camera.parameter.isp_flags & kRotate90) != 0) std::swap(width, height);
  if (width != nullptr) *width = geometry.frame_width;
  if (height != nullptr) *height = geometry.frame_height;
  return true;
}

bool get_image_depth(const CameraContext& camera, int* bits) {
  if (bits != nullptr) *bits = camera.model().COLOR_MODE == kMono12 ? 12 : 8;
  return true;
}

bool get_image_buffer_size(const CameraContext& camera, int* size, int format) {
  if (size != nullptr) *size = image_bytes(camera.stream.geometry, format);
  return true;
}

bool get_isp_image_buffer_size(const CameraContext& /*camera*/, int* size, int width, int height,
                               int format) {
  int pixel_bytes = 1;
  if ((format & (KXCAM_FORMAT_RAW | KXCAM_FORMAT_GREY)) == 0) {
    if ((format & KXCAM_FORMAT_COLOR) == 0) return fail(KXCAM_ERROR_ARGUMENT);
    pixel_bytes = color_pixel_bytes(format);
  }
  if (width < 1 || height < 1 || int64_t{width} * height > std::numeric_limits<int>::max() / pixel_bytes) {
    return fail(KXCAM_ERROR_ARGUMENT);
  }
  if (size != nullptr) *size = width * height * pixel_bytes;
  return true;
}

bool set_time_out(CameraContext& camera, int ms) {
  camera.parameter.time_out = std::clamp(ms, kShortestTimeoutMs, kLongestTimeoutMs);
  return true;
}

int get_time_out(const CameraContext& camera) {
  return camera.parameter.time_out;
}

bool query_frame(CameraContext& context, uint8_t* out, size_t size, int format, const FrameRing::Wait& wait,
                 DeliveredFrame& frame) {
  if (context.stream.ring == nullptr) return fail(KXCAM_ERROR_NO_DEVICE);
  FrameRing& ring = *context.stream.ring;
  const FrameGeometry geometry = context.stream.geometry;
  if (geometry.pixels() * static_cast<int>(geometry.bytes_per_pixel) < 1) return fail(KXCAM_ERROR_FRAME_SIZE);
  if (size != static_cast<size_t>(image_bytes(geometry, format))) return fail(KXCAM_ERROR_ARGUMENT);

  frame.taken = ring.take(geometry, wait);
  switch (frame.taken.outcome) {
    case FrameRing::Outcome::kTaken:
      break;
    case FrameRing::Outcome::kNoFrame:
      return fail(KXCAM_ERROR_NO_FRAME);
    case FrameRing::Outcome::kGone:
      return fail(KXCAM_ERROR_NO_DEVICE);
    case FrameRing::Outcome::kInterrupted:
      return false;
  }
  TakenFrame taken(ring, frame.taken.buffer);
  const bool rotated = (context.parameter.isp_flags & kRotate90) != 0;
  frame.width = rotated ? geometry.frame_height : geometry.frame_width;
  frame.height = rotated ? geometry.frame_width : geometry.frame_height;
  taken.delivered = deliver(context, frame.taken.buffer, geometry, out, format);
  return taken.delivered;
}

bool query_image2(CameraContext& context, uint8_t* out, const int* size, int* buffer_index, int format) {
  DeliveredFrame frame;
  // A size below 0 becomes one that no picture has.
  const auto bytes = static_cast<size_t>(int64_t{*size});
  if (!query_frame(context, out, bytes, format, {.limit_ms = wait_limit(context)}, frame)) return false;
  if (buffer_index != nullptr) *buffer_index = frame.taken.buffer;
  return true;
}

bool query_image(CameraContext& context, uint8_t* out, const int* size, int format) {
  return query_image2(context, out, size, nullptr, format);
}

bool query_image_lv(CameraContext& context, uint32_t* out, const int* size, int format) {
  // A count of pixels whose bytes do not fit an int is no frame's size; it must not wrap to one that is.
  const int64_t bytes = int64_t{*size} * 4;
  const int byte_count = bytes == static_cast<int32_t>(bytes) ? static_cast<int>(bytes) : -1;
  return query_image(context, reinterpret_cast<uint8_t*>(out), &byte_count, format | KXCAM_FORMAT_32BIT);
}

bool clear_host_buffer(CameraContext& camera) {
  if (find_device(camera) == nullptr) return false;
  if (camera.stream.ring != nullptr) camera.stream.ring->flush();
  return true;
}

void abort_query(CameraContext& camera) {
  camera.stream.stop();
}

}  // namespace kxcam
