// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger.h"

#include "api/boundary.h"
#include "core/control/trigger_unit.h"

using namespace kxcam;

uint32_t CameraSetSnapMode(int camera, int mode) {
  return api::run([&] { return set_snap_mode(camera, mode); });
}

uint32_t CameraGetSnapMode(int camera, int* mode) {
  return api::get(mode, [&] { return get_snap_mode(camera); });
}

uint32_t CameraSetSnapNum(int camera, int count) {
  return api::run([&] { return set_snap_num(camera, count); });
}

uint32_t CameraGetSnapNum(int camera, int* count) {
  return api::get(count, [&] { return get_snap_num(camera); });
}

uint32_t CameraTriggerShot(int camera) {
  return api::run([&] { return trigger_shot(camera); });
}

uint32_t CameraEnableStrobe(int camera, bool on) {
  return api::run([&] { return enable_strobe(camera, on); });
}

uint32_t CameraGetStrobe(int camera, bool* on) {
  return api::run([&] { return get_strobe(camera, on); });
}

uint32_t CameraSetTriggerPolarity(int camera, int polarity) {
  return api::run([&] { return set_trigger_polarity(camera, polarity); });
}

uint32_t CameraGetTriggerPolarity(int camera, bool* polarity) {
  return api::run([&] { return get_trigger_polarity(camera, polarity); });
}

uint32_t CameraSetStrobePolarity(int camera, int polarity) {
  return api::run([&] { return set_strobe_polarity(camera, polarity); });
}

uint32_t CameraGetStrobePolarity(int camera, int* polarity) {
  return api::get(polarity, [&] { return get_strobe_polarity(camera); });
}

uint32_t CameraSetTriggerDelay(int camera, int value) {
  return api::run([&] { return set_trigger_delay(camera, value); });
}

uint32_t CameraGetTriggerDelay(int camera, int* value) {
  return api::get(value, [&] { return get_trigger_delay(camera); });
}

uint32_t CameraSetStrobeDelay(int camera, int value) {
  return api::run([&] { return set_strobe_delay(camera, value); });
}

uint32_t CameraGetStrobeDelay(int camera, int* value) {
  return api::get(value, [&] { return get_strobe_delay(camera); });
}

uint32_t CameraSetStrobeDuration(int camera, int value) {
  return api::run([&] { return set_strobe_duration(camera, value); });
}

uint32_t CameraGetStrobeDuration(int camera, int* value) {
  return api::get(value, [&] { return get_strobe_duration(camera); });
}

uint32_t CameraSetDebouncerTime(int camera, int value) {
  return api::run([&] { return set_debouncer_time(camera, value); });
}

uint32_t CameraGetDebouncerTime(int camera, int* value) {
  return api::get(value, [&] { return get_debouncer_time(camera); });
}
