// SPDX-License-Identifier: Apache-2.0
#include "core/trigger.h"

#include "core/contexts.h"
#include "core/last_error.h"
#include "core/sensor_family.h"
#include "core/sensors/trigger_request.h"
#include "core/snap_mode.h"
#include "core/timing.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {
constexpr uint32_t kTriggerPolarity = 0x03;
}

bool trigger_shot(int camera) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  if (!is_triggered(*open.context)) return fail(KXCAM_ERROR_ARGUMENT);
  if (open->ring != nullptr) open->ring->drop_ready_frames();
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
