// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/image_query.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>

#include "core/acquisition/image_size.h"
#include "core/picture/isp.h"
#include "core/registry/camera_context.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// Milliseconds that a query waits: a long exposure gets at least its own duration.
int64_t wait_limit(const CameraContext& context) {
  constexpr double kLongest = std::numeric_limits<int32_t>::max();
  const double exposure_ms = context.parameter.exposure * context.sensor.line_time_ms;
  const int32_t exposure = exposure_ms > 0 ? static_cast<int32_t>(std::min(exposure_ms, kLongest)) : 0;
  return std::max<int32_t>(context.parameter.time_out, exposure);
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

bool query_image2(CameraContext& context, uint8_t* out, const int* size, int* buffer_index, int format) {
  if (context.stream.ring == nullptr) return fail(KXCAM_ERROR_NO_DEVICE);
  const FrameGeometry geometry = context.stream.geometry;
  if (geometry.pixels() * static_cast<int>(geometry.bytes_per_pixel) < 1) return fail(KXCAM_ERROR_FRAME_SIZE);
  if (*size != image_bytes(geometry, format)) return fail(KXCAM_ERROR_ARGUMENT);

  const std::optional<int> i = context.stream.ring->take(geometry, wait_limit(context),
                                                         {context.stream.geometry, context.stream.running});
  if (!i) return fail(KXCAM_ERROR_NO_FRAME);
  TakenFrame frame(*context.stream.ring, *i);
  frame.delivered = deliver(context, *i, geometry, out, format);
  if (frame.delivered && buffer_index != nullptr) *buffer_index = *i;
  return frame.delivered;
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

}  // namespace kxcam
