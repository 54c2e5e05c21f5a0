// SPDX-License-Identifier: Apache-2.0
#include "core/control/frame_timing.h"

#include <algorithm>
#include <cmath>

#include "core/acquisition/image_query.h"
#include "core/control/exposure.h"
#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

uint32_t tenths_per_second(double fps) {
  return static_cast<uint32_t>(std::clamp(fps * 10, 1.0, 65535.0));
}

bool can_reset_globally(const CameraContext& camera) {
  return (camera.device.feature_bits & kGlobalReset) != 0;
}

}  // namespace

void reapply_delay(CameraContext& camera) {
  if (const auto write = camera.family.write_delay) write(camera, camera.parameter.delay);
}

bool set_delay(CameraContext& camera, int lines) {
  if (find_device(camera) == nullptr) return false;
  camera.parameter.delay = std::max(lines, 0);
  reapply_delay(camera);
  return true;
}

int get_delay(const CameraContext& camera) {
  return find_device(camera) == nullptr ? -1 : camera.parameter.delay.load();
}

bool is_frame_rate(double fps) {
  return std::isfinite(fps);
}

bool set_frame_rate(CameraContext& camera, bool fixed, double fps) {
  if (!is_frame_rate(fps)) return fail(KXCAM_ERROR_ARGUMENT);
  if (find_device(camera) == nullptr) return false;
  camera.parameter.frame_rate = fps;
  camera.parameter.isp_flags.set_bits(kFrameRateFree, !fixed);
  const bool was_fixed = isp_read(camera, bridge::kFixedRate) == 1U;
  if (fixed) isp_write(camera, bridge::kTenthsPerSecond, tenths_per_second(fps));
  isp_write(camera, bridge::kFixedRate, fixed ? 1 : 0);
  if (was_fixed && !fixed) isp_write(camera, bridge::kRestart, 1);
  return true;
}

bool get_frame_rate(const CameraContext& camera, bool* fixed, double* fps) {
  *fixed = (camera.parameter.isp_flags & kFrameRateFree) == 0;
  *fps = camera.parameter.frame_rate;
  return true;
}

bool set_highspeed(CameraContext& camera, bool on) {
  if (!ask_bridge(camera, bridge::kHighSpeedReadout, 0, on ? 1 : 0)) return false;
  camera.parameter.isp_flags.set_bits(kHighSpeed, on);
  set_exposure_width(camera, 0, 0);
  return true;
}

int get_highspeed(const CameraContext& camera) {
  return (camera.parameter.isp_flags & kHighSpeed) != 0 ? 1 : 0;
}

bool set_global_reset(CameraContext& camera, bool on) {
  if (is_triggered(camera)) return fail(KXCAM_ERROR_ARGUMENT);
  if (!can_reset_globally(camera)) return true;
  camera.parameter.isp_flags.set_bits(kGlobalResetOff, !on);
  if (const auto switch_sensor = camera.family.switch_global_reset) switch_sensor(camera, on);
  return true;
}

bool select_global_reset(CameraContext& camera, bool on) {
  if (!set_global_reset(camera, on)) return false;
  if (on) clear_host_buffer(camera);
  return true;
}

int get_global_reset(const CameraContext& camera) {
  if (!can_reset_globally(camera)) {
    set_last_error(KXCAM_ERROR_NOT_SUPPORTED);
    return -1;
  }
  return (camera.parameter.isp_flags & kGlobalResetOff) == 0 ? 1 : 0;
}

}  // namespace kxcam
