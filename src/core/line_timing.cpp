// SPDX-License-Identifier: Apache-2.0
#include "core/line_timing.h"

#include "core/contexts.h"
#include "core/sensor_family.h"

namespace kxcam {

namespace {

ReadoutSize readout_size(const CameraContext& camera, int width, int height) {
  if (width > 0 && height > 0) return {width, height};
  const FrameGeometry geometry = camera.geometry;
  return {geometry.frame_width, geometry.frame_height};
}

std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize size) {
  const auto ask_sensor = camera.family.extra_line_width;
  return ask_sensor == nullptr ? 0 : ask_sensor(camera, size);
}

}  // namespace

int set_exposure_width(CameraContext& camera, int width, int height) {
  const ReadoutSize size = readout_size(camera, width, height);
  const std::optional<int32_t> extra = extra_line_width(camera, size);
  if (!extra) return -1;
  if (camera.family.line_timing == nullptr) return *extra;
  const std::optional<LineTiming> timing = camera.family.line_timing(camera, size.width + *extra);
  if (!timing) return -1;
  camera.line_time_ms = timing->line_time_ms;
  camera.flicker_lines = timing->flicker_lines;
  return *extra;
}

int set_exposure_width(int camera, int width, int height) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : set_exposure_width(*context, width, height);
}

int get_extra_exposure_width(int camera, int width, int height) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  return extra_line_width(*context, readout_size(*context, width, height)).value_or(-1);
}

}  // namespace kxcam
