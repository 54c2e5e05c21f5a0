// SPDX-License-Identifier: Apache-2.0
#include "core/global_reset.h"

#include "core/contexts.h"
#include "core/feature_bits.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "core/sensor_family.h"
#include "core/snap_mode.h"

namespace kxcam {

namespace {

bool can_reset_globally(const CameraContext& camera) {
  return (camera.feature_bits & kGlobalReset) != 0;
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
