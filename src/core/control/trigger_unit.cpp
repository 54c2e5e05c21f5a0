// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger_unit.h"

#include "core/control/registers.h"
#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// One time: where it is kept, the register it goes to and what it is divided by on the way.
struct UnitTime {
  Relaxed<int32_t> CameraParameter::*stored;
  bridge::Register reg;
  int32_t divisor;
};

constexpr UnitTime kTriggerDelay{&CameraParameter::trigger_delay, bridge::kTriggerDelay, 10};
constexpr UnitTime kStrobeDelay{&CameraParameter::strobe_delay, bridge::kStrobeDelay, 10};
constexpr UnitTime kStrobeDuration{&CameraParameter::strobe_duration, bridge::kStrobeDuration, 10};
constexpr UnitTime kDebouncerTime{&CameraParameter::debouncer_time, bridge::kDebouncerTime, 1};

constexpr int kCameraWithTheUnit = 0;
constexpr uint32_t kSwitchedOn = 0x8000;

bool has_trigger_unit(const CameraContext& camera) {
  return (camera.device.feature_bits & kTriggerUnit) != 0;
}

bool set_time(CameraContext& camera, const UnitTime& time, int value) {
  if (!is_unit_time(value)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.*time.stored = value;
  if (!has_trigger_unit(camera)) return true;
  const ContextRef unit = find_camera(kCameraWithTheUnit);
  return unit != nullptr && isp_write(*unit, time.reg, static_cast<uint32_t>(value / time.divisor));
}

int get_time(const CameraContext& camera, const UnitTime& time) {
  if (!has_trigger_unit(camera)) {
    set_last_error(KXCAM_ERROR_NOT_SUPPORTED);
    return -1;
  }
  return camera.parameter.*time.stored;
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

bool is_unit_time(int value) {
  return value >= 0;
}

bool set_trigger_delay(CameraContext& camera, int value) {
  return set_time(camera, kTriggerDelay, value);
}

int get_trigger_delay(const CameraContext& camera) {
  return get_time(camera, kTriggerDelay);
}

bool set_strobe_delay(CameraContext& camera, int value) {
  return set_time(camera, kStrobeDelay, value);
}

int get_strobe_delay(const CameraContext& camera) {
  return get_time(camera, kStrobeDelay);
}

bool set_strobe_duration(CameraContext& camera, int value) {
  return set_time(camera, kStrobeDuration, value);
}

int get_strobe_duration(const CameraContext& camera) {
  return get_time(camera, kStrobeDuration);
}

bool set_debouncer_time(CameraContext& camera, int value) {
  return set_time(camera, kDebouncerTime, value);
}

int get_debouncer_time(const CameraContext& camera) {
  return get_time(camera, kDebouncerTime);
}

bool write_bridge_strobe(CameraContext& camera, bool on) {
  return !has_trigger_unit(camera) ||
         isp_write(camera, bridge::kStrobeLine, line_setting(on, camera.parameter.strobe_polarity != 0));
}

bool enable_strobe(CameraContext& camera, bool on) {
  if (const auto switch_sensor = camera.family.switch_strobe) {
    if (!switch_sensor(camera, on)) return false;
  } else {
    write_bridge_strobe(camera, on);
  }
  camera.parameter.isp_flags.set_bits(kStrobeOff, !on);
  return true;
}

bool get_strobe(const CameraContext& camera, bool* on) {
  *on = is_on(camera);
  return has_trigger_unit(camera) || camera.family.strobe_line;
}

bool is_strobe_polarity(int polarity) {
  return polarity == 0 || polarity == 1;
}

bool set_strobe_polarity(CameraContext& camera, int polarity) {
  if (!is_strobe_polarity(polarity)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.strobe_polarity = static_cast<uint8_t>(polarity);
  const auto switch_sensor = camera.family.switch_strobe_polarity;
  return switch_sensor != nullptr ? switch_sensor(camera, polarity == 1)
                                  : write_bridge_strobe(camera, is_on(camera));
}

int get_strobe_polarity(const CameraContext& camera) {
  return camera.parameter.strobe_polarity;
}

}  // namespace kxcam
