// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/orientation.h"

#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "core/registry/contexts.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// The map of the present frame size and flags. Built inside the update, so that of two changes at the
/// same time the later map knows both.
void build_index_map(CameraContext& context) {
  context.stream.index_map.update([&context](IndexMap& map) {
    const FrameGeometry geometry = context.stream.geometry;
    const uint16_t flags = context.parameter.isp_flags;
    const bool inverted = (context.device.open_flags & kOpenInvertMirrorY) != 0;
    map = IndexMap(geometry.frame_width, geometry.frame_height, (flags & kMirrorX) != 0,
                   ((flags & kMirrorY) != 0) != inverted, (flags & kRotate90) != 0);
  });
}

bool has_index_map(const CameraContext& context) {
  return context.stream.index_map.load()->count() > 0;
}

bool set_flag(int camera, IspFlag flag, bool on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (!has_index_map(*context)) return fail(KXCAM_ERROR_ARGUMENT);
  context->parameter.isp_flags.set_bits(flag, on);
  build_index_map(*context);
  return true;
}

int get_flag(int camera, IspFlag flag) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  return (context->parameter.isp_flags & flag) != 0 ? 1 : 0;
}

}  // namespace

void UpdateImageIdx(CameraContext& context) {
  if (has_index_map(context)) build_index_map(context);
}

void set_full_frame(CameraContext& context) {
  const SensorSize sensor = context.model().SENSOR_ARRAY;
  context.stream.geometry =
      FrameGeometry{static_cast<uint16_t>(sensor.width), static_cast<uint16_t>(sensor.height),
                    context.stream.geometry.load().bytes_per_pixel};
  build_index_map(context);
}

bool set_mirror_x(int camera, bool on) {
  return set_flag(camera, kMirrorX, on);
}

bool set_mirror_y(int camera, bool on) {
  return set_flag(camera, kMirrorY, on);
}

bool set_rotate(int camera, bool on) {
  return set_flag(camera, kRotate90, on);
}

int get_mirror_x(int camera) {
  return get_flag(camera, kMirrorX);
}

int get_mirror_y(int camera) {
  return get_flag(camera, kMirrorY);
}

int get_rotate(int camera) {
  return get_flag(camera, kRotate90);
}

}  // namespace kxcam
