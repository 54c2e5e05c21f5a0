// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger_unit.h"

#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// One time: where it is kept, the register it goes to and what it is divided by on the way.
struct UnitTime {
  Relaxed<int32_t> CameraParameter::*stored;
  uint32_t reg;
  int32_t divisor;
};

constexpr UnitTime kTriggerDelay{&CameraParameter::trigger_delay, 12, 10};
constexpr UnitTime kStrobeDelay{&CameraParameter::strobe_delay, 13, 10};
constexpr UnitTime kStrobeDuration{&CameraParameter::strobe_duration, 14, 10};
constexpr UnitTime kDebouncerTime{&CameraParameter::debouncer_time, 6, 1};

constexpr int kCameraWithTheUnit = 0;

bool has_trigger_unit(const CameraContext& camera) {
  return (camera.device.feature_bits & kTriggerUnit) != 0;
}

bool set_time(int camera, const UnitTime& time, int value) {
  if (!check_index(camera)) return false;
  if (value < 0) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  if (context == nullptr) return false;
  context->parameter.*time.stored = value;
  return !has_trigger_unit(*context) ||
         isp_write(kCameraWithTheUnit, 0, time.reg, static_cast<uint32_t>(value / time.divisor), 0);
}

int get_time(int camera, const UnitTime& time) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return -1;
  if (!has_trigger_unit(*context)) {
    set_last_error(KXCAM_ERROR_NOT_SUPPORTED);
    return -1;
  }
  return context->parameter.*time.stored;
}

}  // namespace

bool set_trigger_delay(int camera, int value) {
  return set_time(camera, kTriggerDelay, value);
}

int get_trigger_delay(int camera) {
  return get_time(camera, kTriggerDelay);
}

bool set_strobe_delay(int camera, int value) {
  return set_time(camera, kStrobeDelay, value);
}

int get_strobe_delay(int camera) {
  return get_time(camera, kStrobeDelay);
}

bool set_strobe_duration(int camera, int value) {
  return set_time(camera, kStrobeDuration, value);
}

int get_strobe_duration(int camera) {
  return get_time(camera, kStrobeDuration);
}

bool set_debouncer_time(int camera, int value) {
  return set_time(camera, kDebouncerTime, value);
}

int get_debouncer_time(int camera) {
  return get_time(camera, kDebouncerTime);
}

namespace {

constexpr uint32_t kStrobeLine = 0x04;  ///< register of the bridge
constexpr uint32_t kSwitchedOn = 0x8000;

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
