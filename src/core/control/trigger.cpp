// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger.h"

#include <algorithm>
#include <limits>

#include "core/acquisition/line_scan.h"
#include "core/acquisition/video.h"
#include "core/registry/contexts.h"
#include "core/sensors/registers.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {
constexpr uint32_t kFramesPerTrigger = 0x05;
}

bool set_snap_mode(int camera, int mode) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (find_device(*context) == nullptr) return false;
  if (context->family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  const auto snap_mode = static_cast<uint8_t>(mode);
  if (!context->family.switch_trigger(*context, snap_mode == kSnapTriggered)) return false;
  clear_host_buffer(camera);
  context->parameter.snap_mode = snap_mode;
  return true;
}

int get_snap_mode(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.snap_mode.load();
}

bool set_snap_num(int camera, int count) {
  if (!check_index(camera)) return false;
  if (count < 0 || count > std::numeric_limits<uint16_t>::max()) return fail(KXCAM_ERROR_ARGUMENT);
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  const auto at_least_one = static_cast<uint16_t>(std::max(count, 1));
  open->parameter.snap_num = at_least_one;
  return open->family.line_scan ? send_lines_per_trigger(*open.context, at_least_one)
                                : isp_write(*open.context, kFramesPerTrigger, at_least_one);
}

int get_snap_num(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.snap_num.load();
}

namespace {
constexpr uint32_t kTriggerPolarity = 0x03;
}

bool trigger_shot(int camera) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  if (!is_triggered(*open.context)) return fail(KXCAM_ERROR_ARGUMENT);
  if (open->stream.ring != nullptr) open->stream.ring->drop_ready_frames();
  if (open->family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  sysdelay(open->family.trigger_wait_ms);
  pulse_trigger_line(*open.context);
  return true;
}

bool set_trigger_polarity(int camera, int polarity) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->parameter.trigger_polarity = polarity;
  return isp_write(*context, kTriggerPolarity, static_cast<uint32_t>(polarity) & 0xFF);
}

bool get_trigger_polarity(int camera, bool* polarity) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  *polarity = context->parameter.trigger_polarity == 1;
  return true;
}

}  // namespace kxcam
