// SPDX-License-Identifier: Apache-2.0
#include "core/trigger_unit.h"

#include "core/contexts.h"
#include "core/feature_bits.h"
#include "core/last_error.h"
#include "usb/control_channel.h"

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
  return (camera.feature_bits & kTriggerUnit) != 0;
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

}  // namespace kxcam
