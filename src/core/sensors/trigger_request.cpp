// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/trigger_request.h"

#include "core/control/trigger.h"
#include "core/registry/contexts.h"
#include "sync/clock.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr uint8_t kTriggerMode = 0xB4;
constexpr uint32_t kRestart = 0x01;  ///< register of the bridge
constexpr int kTriggerLine = 0x08;
constexpr int kSettleMs = 1;

}  // namespace

bool request_trigger_mode(CameraContext& camera, bool triggered) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  ShortReply reply;
  long length = 0;
  return read_short(handle.get(), kTriggerMode, 0, triggered ? 1 : 0, reply, length) ||
         fail(KXCAM_ERROR_READ_REQUEST);
}

void pulse_trigger_line(CameraContext& camera) {
  set_gpio(camera, kTriggerLine, kTriggerLine);
}

bool switch_bridge_trigger(CameraContext& camera, bool triggered) {
  request_trigger_mode(camera, triggered);
  if (triggered && !is_triggered(camera)) isp_write(camera, kRestart, 1);
  return true;
}

bool switch_trigger_and_settle(CameraContext& camera, bool triggered) {
  request_trigger_mode(camera, triggered);
  sysdelay(kSettleMs);
  return true;
}

}  // namespace kxcam
