// SPDX-License-Identifier: Apache-2.0
#include "core/resolution.h"

#include <optional>
#include <utility>

#include "core/contexts.h"
#include "core/delay.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "core/line_timing.h"
#include "core/orientation.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

constexpr uint8_t kGeometryInquiry = 0xAB;
constexpr uint8_t kSelectGeometry = 0xAC;

enum GeometryIndex : uint16_t {
  kCount = 1,
  kMaximum = 2,
  kPreset = 3,
  kMode = 4,
};

uint16_t little_endian(const ShortReply& reply, size_t at) {
  return static_cast<uint16_t>(reply[at] | reply[at + 1] << 8);
}

bool ask(const OpenCamera& camera, uint8_t request, uint16_t index, int value, ShortReply& reply) {
  long length = 0;
  return read_short(camera.handle.get(), request, index, static_cast<uint16_t>(value), reply, length) ||
         fail(KXCAM_ERROR_READ_REQUEST);
}

/// The geometry in a reply; nothing, with code 10, when no frame of this sensor can have it.
std::optional<FrameGeometry> plausible_geometry(const CameraContext& context, const ShortReply& reply) {
  const uint16_t bytes = little_endian(reply, 4);
  const FrameGeometry geometry{little_endian(reply, 0), little_endian(reply, 2), bytes};
  const int64_t pixels = int64_t{geometry.frame_width} * geometry.frame_height;
  if (pixels < 1 || pixels > context.model().SENSOR_ARRAY.pixels() || bytes < 1 || bytes > 2) {
    set_last_error(KXCAM_ERROR_READ_REQUEST);
    return std::nullopt;
  }
  return geometry;
}

void hand_out(const CameraContext& context, const FrameGeometry& geometry, int* width, int* height,
              int* bytes) {
  if ((context.parameter.isp_flags & kRotate90) != 0) std::swap(width, height);
  if (width != nullptr) *width = geometry.frame_width;
  if (height != nullptr) *height = geometry.frame_height;
  if (bytes != nullptr) *bytes = static_cast<int>(geometry.bytes_per_pixel);
}

}  // namespace

int get_resolution_count(int camera) {
  const OpenCamera open = find_open_camera(camera);
  ShortReply reply;
  if (!open || !ask(open, kGeometryInquiry, kCount, 0, reply)) return -1;
  open->resolution_count = reply[0];
  return reply[0];
}

bool get_resolution_max(int camera, int* width, int* height) {
  const OpenCamera open = find_open_camera(camera);
  ShortReply reply;
  if (!open || !ask(open, kGeometryInquiry, kMaximum, 0, reply)) return false;
  if (width != nullptr) *width = little_endian(reply, 0);
  if (height != nullptr) *height = little_endian(reply, 2);
  return true;
}

bool get_resolution(int camera, int preset, int* width, int* height, int* bytes) {
  const OpenCamera open = find_open_camera(camera);
  ShortReply reply;
  if (!open || !ask(open, kGeometryInquiry, kPreset, preset, reply)) return false;
  const std::optional<FrameGeometry> geometry = plausible_geometry(*open.context, reply);
  if (!geometry) return false;
  hand_out(*open.context, *geometry, width, height, bytes);
  return true;
}

bool set_resolution(int camera, int preset, int* width, int* height, int* bytes) {
  const OpenCamera open = find_open_camera(camera);
  ShortReply reply;
  if (!open || !ask(open, kSelectGeometry, kPreset, preset, reply)) return false;
  const std::optional<FrameGeometry> geometry = plausible_geometry(*open.context, reply);
  if (!geometry) return false;
  open->geometry = *geometry;
  UpdateImageIdx(*open.context);  // at once: frames of that size may be there before the delay is
  hand_out(*open.context, *geometry, width, height, bytes);
  reapply_delay(*open.context);
  open->parameter.enable_roi = 0;
  open->parameter.resolution_index = static_cast<uint8_t>(preset);
  set_exposure_width(*open.context, 0, 0);
  return true;
}

bool set_resolution_mode(int camera, int mode) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->parameter.resolution_mode = static_cast<uint8_t>(mode);
  const OpenCamera open = find_open_camera(camera);
  ShortReply reply;
  return open && ask(open, kGeometryInquiry, kMode, mode & 0xFF, reply);
}

int get_resolution_mode(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.resolution_mode.load();
}

}  // namespace kxcam
