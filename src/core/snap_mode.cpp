// SPDX-License-Identifier: Apache-2.0
#include "core/snap_mode.h"

#include <algorithm>
#include <limits>

#include "core/contexts.h"
#include "core/last_error.h"
#include "core/line_scan.h"
#include "core/sensor_family.h"
#include "core/timing.h"
#include "core/video.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {
constexpr uint32_t kFramesPerTrigger = 0x05;
}

bool set_snap_mode(int camera, int mode) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->snap_mode_dirty = 1;
  if (find_device(*context) == nullptr) return false;
  if (context->family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  const auto snap_mode = static_cast<uint8_t>(mode);
  if (!context->family.switch_trigger(*context, snap_mode == kSnapTriggered)) return false;
  clear_host_buffer(camera);
  if (snap_mode == kSnapTimed) context->snap_start_time = GetTickCount();
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

}  // namespace kxcam
