// SPDX-License-Identifier: Apache-2.0
#include "core/strobe.h"

#include "core/contexts.h"
#include "core/feature_bits.h"
#include "core/isp_flags.h"
#include "core/last_error.h"
#include "core/sensor_family.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

constexpr uint32_t kStrobeLine = 0x04;  ///< register of the bridge
constexpr uint32_t kSwitchedOn = 0x8000;

bool has_trigger_unit(const CameraContext& camera) {
  return (camera.feature_bits & kTriggerUnit) != 0;
}

bool is_on(const CameraContext& camera) {
  return (camera.parameter.isp_flags & kStrobeOff) == 0;
}

/// A line that is off rests at its inactive level: bit 0 is the polarity while on, and its opposite while
/// off.
uint32_t line_setting(bool on, bool polarity) {
  return on ? kSwitchedOn | (polarity ? 1U : 0U) : (polarity ? 0U : 1U);
}

}  // namespace

bool write_bridge_strobe(CameraContext& camera, bool on) {
  return !has_trigger_unit(camera) ||
         isp_write(camera, kStrobeLine, line_setting(on, camera.parameter.strobe_polarity != 0));
}

bool enable_strobe(int camera, bool on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (const auto switch_sensor = context->family.switch_strobe) {
    if (!switch_sensor(*context, on)) return false;
  } else {
    write_bridge_strobe(*context, on);
  }
  context->parameter.isp_flags.set_bits(kStrobeOff, !on);
  return true;
}

bool get_strobe(int camera, bool* on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  *on = is_on(*context);
  return has_trigger_unit(*context) || context->family.strobe_line;
}

bool set_strobe_polarity(int camera, int polarity) {
  if (!check_index(camera)) return false;
  if (polarity < 0 || polarity > 1) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  if (context == nullptr) return false;
  context->parameter.strobe_polarity = static_cast<uint8_t>(polarity);
  const auto switch_sensor = context->family.switch_strobe_polarity;
  return switch_sensor != nullptr ? switch_sensor(*context, polarity == 1)
                                  : write_bridge_strobe(*context, is_on(*context));
}

int get_strobe_polarity(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.strobe_polarity.load();
}

}  // namespace kxcam
