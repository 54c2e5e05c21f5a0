// SPDX-License-Identifier: Apache-2.0
#include "core/frame_rate.h"

#include <algorithm>
#include <cmath>

#include "core/contexts.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "usb/control_channel.h"

namespace kxcam {

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

}  // namespace kxcam
