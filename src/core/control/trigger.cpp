// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger.h"

#include <algorithm>
#include <limits>

#include "core/acquisition/image_query.h"
#include "core/acquisition/readout.h"
#include "core/control/registers.h"
#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
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
constexpr int kTriggerLine = 0x08;
constexpr uint32_t kSwitchedOn = 0x8000;

bool has_trigger_unit(const CameraContext& camera) {
  return (camera.device.feature_bits & kTriggerUnit) != 0;
}

bool write_time(CameraContext& unit, const UnitTime& time, int32_t value) {
  return isp_write(unit, time.reg, static_cast<uint32_t>(value / time.divisor));
}

bool set_time(CameraContext& camera, const UnitTime& time, int value) {
  if (!is_unit_time(value)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.*time.stored = value;
  if (!has_trigger_unit(camera)) return true;
  const ContextRef unit = find_camera(kCameraWithTheUnit);
  return unit != nullptr && write_time(*unit, time, value);
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

bool set_snap_mode(CameraContext& camera, int mode) {
  if (find_device(camera) == nullptr) return false;
  if (camera.family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  const auto snap_mode = static_cast<uint8_t>(mode);
  if (!camera.family.switch_trigger(camera, snap_mode == kSnapTriggered)) return false;
  clear_host_buffer(camera);
  camera.parameter.snap_mode = snap_mode;
  return true;
}

int get_snap_mode(const CameraContext& camera) {
  return camera.parameter.snap_mode;
}

bool is_snap_num(int count) {
  return count >= 0 && count <= std::numeric_limits<uint16_t>::max();
}

bool set_snap_num(CameraContext& camera, int count) {
  if (!is_snap_num(count)) return fail(KXCAM_ERROR_ARGUMENT);
  if (find_device(camera) == nullptr) return false;
  const auto at_least_one = static_cast<uint16_t>(std::max(count, 1));
  camera.parameter.snap_num = at_least_one;
  return camera.family.line_scan ? send_lines_per_trigger(camera, at_least_one)
                                 : isp_write(camera, bridge::kFramesPerTrigger, at_least_one);
}

int get_snap_num(const CameraContext& camera) {
  return camera.parameter.snap_num;
}

bool trigger_shot(CameraContext& camera) {
  if (find_device(camera) == nullptr) return false;
  if (!is_triggered(camera)) return fail(KXCAM_ERROR_ARGUMENT);
  if (camera.stream.ring != nullptr) camera.stream.ring->drop_ready_frames();
  if (camera.family.switch_trigger == nullptr) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  sysdelay(camera.family.trigger_wait_ms);
  pulse_trigger_line(camera);
  return true;
}

bool request_trigger_mode(CameraContext& camera, bool triggered) {
  return ask_bridge(camera, bridge::kTriggerMode, 0, triggered ? 1 : 0).has_value();
}

void pulse_trigger_line(CameraContext& camera) {
  set_gpio(camera, kTriggerLine, kTriggerLine);
}

bool set_trigger_polarity(CameraContext& camera, int polarity) {
  camera.parameter.trigger_polarity = polarity;
  return isp_write(camera, bridge::kTriggerPolarity, static_cast<uint32_t>(polarity) & 0xFF);
}

bool get_trigger_polarity(const CameraContext& camera, bool* polarity) {
  *polarity = camera.parameter.trigger_polarity == 1;
  return true;
}

bool is_unit_time(int value) {
  return value >= 0;
}

void write_unit_times(CameraContext& camera) {
  if (!has_trigger_unit(camera)) return;
  for (const UnitTime& time : {kTriggerDelay, kStrobeDelay, kStrobeDuration, kDebouncerTime})
    write_time(camera, time, camera.parameter.*time.stored);
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
