// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/image_size.h"

#include <limits>
#include <utility>

#include "usb/last_error.h"

namespace kxcam {

namespace {

int color_pixel_bytes(int format) {
  return (format & KXCAM_FORMAT_32BIT) != 0 ? 4 : 3;
}

}  // namespace

int image_bytes(const FrameGeometry& geometry, int format) {
  const int pixels = geometry.pixels();
  if ((format & KXCAM_FORMAT_RAW) != 0) return pixels * static_cast<int>(geometry.bytes_per_pixel);
  if ((format & KXCAM_FORMAT_GREY) != 0) return pixels;
  return pixels * color_pixel_bytes(format);
}

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

}  // namespace kxcam
