// SPDX-License-Identifier: Apache-2.0
#include "core/control/exposure.h"

#include "core/registry/camera_context.h"
#include "core/sensors/sensor_family.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr int kHighestGain = 255;

ReadoutSize readout_size(const CameraContext& camera, int width, int height) {
  if (width > 0 && height > 0) return {width, height};
  const FrameGeometry geometry = camera.stream.geometry;
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
  camera.sensor.line_time_ms = timing->line_time_ms;
  camera.sensor.flicker_lines = timing->flicker_lines;
  return *extra;
}

int get_extra_exposure_width(CameraContext& camera, int width, int height) {
  return extra_line_width(camera, readout_size(camera, width, height)).value_or(-1);
}

bool is_exposure(int lines) {
  return lines >= 1;
}

bool set_exposure(CameraContext& camera, int lines) {
  if (!is_exposure(lines)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.exposure = lines;
  const auto write = camera.family.write_exposure;
  return write == nullptr || write(camera, lines);
}

void reapply_exposure(CameraContext& camera) {
  set_exposure(camera, camera.parameter.exposure);
}

int get_exposure(const CameraContext& camera) {
  return camera.parameter.exposure;
}

double get_exposure_unit(const CameraContext& camera) {
  return camera.sensor.line_time_ms;
}

double get_exposure_time(const CameraContext& camera) {
  return camera.parameter.exposure * camera.sensor.line_time_ms;
}

bool is_gain(int gain) {
  return gain >= 1 && gain <= kHighestGain;
}

bool set_gain(CameraContext& camera, int gain) {
  if (!is_gain(gain)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.gain = gain;
  const auto write = camera.family.write_gain;
  return write == nullptr || write(camera, gain);
}

int get_gain(const CameraContext& camera) {
  return camera.parameter.gain;
}

bool is_advanced_gain(int level) {
  return level >= 0 && level <= kHighestGain;
}

bool set_advanced_gain(CameraContext& camera, int level) {
  if (!is_advanced_gain(level)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.advanced_gain = level;
  if (const auto write = camera.family.write_advanced_gain) write(camera, level);
  return true;
}

int get_advanced_gain(const CameraContext& camera) {
  return camera.parameter.advanced_gain;
}

}  // namespace kxcam
