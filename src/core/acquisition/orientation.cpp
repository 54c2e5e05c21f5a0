// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/orientation.h"

#include "core/registry/camera_context.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// The map of the present frame size and flags. Built inside the update, so that of two changes at the
/// same time the later map knows both.
void build_index_map(CameraContext& context) {
  context.stream.index_map.update([&context](IndexMap& map) {
    const FrameGeometry geometry = context.stream.geometry;
    const uint16_t flags = context.parameter.isp_flags;
    map = IndexMap(geometry.frame_width, geometry.frame_height, (flags & kMirrorX) != 0,
                   is_mirrored_y(context), (flags & kRotate90) != 0);
  });
}

bool has_index_map(const CameraContext& context) {
  return context.stream.index_map.load()->count() > 0;
}

bool set_flag(CameraContext& camera, IspFlag flag, bool on) {
  if (!has_index_map(camera)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.isp_flags.set_bits(flag, on);
  build_index_map(camera);
  return true;
}

int get_flag(const CameraContext& camera, IspFlag flag) {
  return (camera.parameter.isp_flags & flag) != 0 ? 1 : 0;
}

bool toggle(CameraContext& camera, IspFlag flag) {
  return set_flag(camera, flag, get_flag(camera, flag) == 0);
}

}  // namespace

bool is_mirrored_y(const CameraContext& context) {
  const bool inverted = (context.device.open_flags & kOpenInvertMirrorY) != 0;
  return ((context.parameter.isp_flags & kMirrorY) != 0) != inverted;
}

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

bool set_mirror_x(CameraContext& camera, bool on) {
  return set_flag(camera, kMirrorX, on);
}

bool set_mirror_y(CameraContext& camera, bool on) {
  return set_flag(camera, kMirrorY, on);
}

bool set_rotate(CameraContext& camera, bool on) {
  return set_flag(camera, kRotate90, on);
}

int get_mirror_x(const CameraContext& camera) {
  return get_flag(camera, kMirrorX);
}

int get_mirror_y(const CameraContext& camera) {
  return get_flag(camera, kMirrorY);
}

int get_rotate(const CameraContext& camera) {
  return get_flag(camera, kRotate90);
}

bool turn(CameraContext& camera, int angle) {
  switch (angle) {
    case 90:
    case 360:
      return toggle(camera, kRotate90);
    case 180:
    case 270:
      return toggle(camera, kMirrorX) && toggle(camera, kMirrorY) && toggle(camera, kRotate90);
    default:
      return true;
  }
}

}  // namespace kxcam
