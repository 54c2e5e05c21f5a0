// SPDX-License-Identifier: Apache-2.0
#include "core/control/frame_timing.h"

#include <algorithm>
#include <cmath>

#include "core/control/exposure.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

void reapply_delay(CameraContext& camera) {
  if (const auto write = camera.family.write_delay) write(camera, camera.parameter.delay);
}

bool set_delay(int camera, int lines) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  open->parameter.delay = std::max(lines, 0);
  reapply_delay(*open.context);
  return true;
}

int get_delay(int camera) {
  const OpenCamera open = find_open_camera(camera);
  return open ? open->parameter.delay.load() : -1;
}

namespace {

enum BridgeRegister : uint32_t {
  kRestart = 0x01,
  kFixedRate = 0x08,
  kTenthsPerSecond = 0x09,
};

uint32_t tenths_per_second(double fps) {
  return static_cast<uint32_t>(std::clamp(fps * 10, 1.0, 65535.0));
}

}  // namespace

bool set_frame_rate(int camera, bool fixed, double fps) {
  if (!check_index(camera)) return false;
  if (!std::isfinite(fps)) return fail(KXCAM_ERROR_ARGUMENT);
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  open->parameter.frame_rate = fps;
  open->parameter.isp_flags.set_bits(kFrameRateFree, !fixed);

  CameraContext& context = *open.context;
  const bool was_fixed = isp_read(context, kFixedRate) == 1U;
  if (fixed) isp_write(context, kTenthsPerSecond, tenths_per_second(fps));
  isp_write(context, kFixedRate, fixed ? 1 : 0);
  if (was_fixed && !fixed) isp_write(context, kRestart, 1);
  return true;
}

bool get_frame_rate(int camera, bool* fixed, double* fps) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  *fixed = (context->parameter.isp_flags & kFrameRateFree) == 0;
  *fps = context->parameter.frame_rate;
  return true;
}

namespace {
constexpr uint8_t kHighSpeedReadout = 0xB2;
}

bool set_highspeed(int camera, bool on) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  ShortReply reply;
  long length = 0;
  if (!read_short(open.handle.get(), kHighSpeedReadout, 0, on ? 1 : 0, reply, length)) {
    return fail(KXCAM_ERROR_READ_REQUEST);
  }
  open->parameter.isp_flags.set_bits(kHighSpeed, on);
  set_exposure_width(*open.context, 0, 0);
  return true;
}

int get_highspeed(int camera) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  return (context->parameter.isp_flags & kHighSpeed) != 0 ? 1 : 0;
}

namespace {

bool can_reset_globally(const CameraContext& camera) {
  return (camera.device.feature_bits & kGlobalReset) != 0;
}

}  // namespace

bool set_global_reset(int camera, bool on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (is_triggered(*context)) return fail(KXCAM_ERROR_ARGUMENT);
  if (!can_reset_globally(*context)) return true;
  context->parameter.isp_flags.set_bits(kGlobalResetOff, !on);
  if (const auto switch_sensor = context->family.switch_global_reset) switch_sensor(*context, on);
  return true;
}

int get_global_reset(int camera) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  if (!can_reset_globally(*context)) {
    set_last_error(KXCAM_ERROR_NOT_SUPPORTED);
    return -1;
  }
  return (context->parameter.isp_flags & kGlobalResetOff) == 0 ? 1 : 0;
}

}  // namespace kxcam
