// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger.h"

#include <algorithm>
#include <limits>

#include "core/acquisition/line_scan.h"
#include "core/acquisition/video.h"
#include "core/control/registers.h"
#include "core/registry/contexts.h"
#include "core/sensors/registers.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

namespace kxcam {

bool set_snap_mode(CameraContext& camera, int mode) {
  if (find_device(camera) == nullptr) return false;
  if (camera.family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  const auto snap_mode = static_cast<uint8_t>(mode);
  if (!camera.family.switch_trigger(camera, snap_mode == kSnapTriggered)) return false;
  clear_host_buffer(camera);
  camera.parameter.snap_mode = snap_mode;
  return true;
}

int get_snap_mode(const CameraContext& camera) {
  return camera.parameter.snap_mode;
}

bool is_snap_num(int count) {
  return count >= 0 && count <= std::numeric_limits<uint16_t>::max();
}

bool set_snap_num(CameraContext& camera, int count) {
  if (!is_snap_num(count)) return fail(KXCAM_ERROR_ARGUMENT);
  if (find_device(camera) == nullptr) return false;
  const auto at_least_one = static_cast<uint16_t>(std::max(count, 1));
  camera.parameter.snap_num = at_least_one;
  return camera.family.line_scan ? send_lines_per_trigger(camera, at_least_one)
                                 : isp_write(camera, bridge::kFramesPerTrigger, at_least_one);
}

int get_snap_num(const CameraContext& camera) {
  return camera.parameter.snap_num;
}

bool trigger_shot(CameraContext& camera) {
  if (find_device(camera) == nullptr) return false;
  if (!is_triggered(camera)) return fail(KXCAM_ERROR_ARGUMENT);
  if (camera.stream.ring != nullptr) camera.stream.ring->drop_ready_frames();
  if (camera.family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  sysdelay(camera.family.trigger_wait_ms);
  pulse_trigger_line(camera);
  return true;
}

bool set_trigger_polarity(CameraContext& camera, int polarity) {
  camera.parameter.trigger_polarity = polarity;
  return isp_write(camera, bridge::kTriggerPolarity, static_cast<uint32_t>(polarity) & 0xFF);
}

bool get_trigger_polarity(const CameraContext& camera, bool* polarity) {
  *polarity = camera.parameter.trigger_polarity == 1;
  return true;
}

}  // namespace kxcam
