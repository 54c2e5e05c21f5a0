// SPDX-License-Identifier: Apache-2.0
#include "core/high_speed.h"

#include "core/contexts.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "core/line_timing.h"
#include "usb/control_channel.h"

namespace kxcam {

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

}  // namespace kxcam
