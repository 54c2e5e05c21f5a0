// SPDX-License-Identifier: Apache-2.0
#include "core/control/exposure.h"

#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

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

int set_exposure_width(int camera, int width, int height) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : set_exposure_width(*context, width, height);
}

int get_extra_exposure_width(int camera, int width, int height) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  return extra_line_width(*context, readout_size(*context, width, height)).value_or(-1);
}

bool set_exposure(CameraContext& camera, int32_t exposure) {
  camera.parameter.exposure = exposure;
  const auto write = camera.family.write_exposure;
  return write == nullptr || write(camera, exposure);
}

bool set_exposure(int camera, int exposure) {
  if (!check_index(camera)) return false;
  if (exposure < 1) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  return context != nullptr && set_exposure(*context, exposure);
}

int get_exposure(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.exposure.load();
}

double get_exposure_unit(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1.0 : context->sensor.line_time_ms.load();
}

double get_exposure_time(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1.0 : context->parameter.exposure * context->sensor.line_time_ms;
}

}  // namespace kxcam
