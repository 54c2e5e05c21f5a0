// SPDX-License-Identifier: Apache-2.0
#include "core/control/trigger.h"

#include "api/boundary.h"
#include "core/control/registers.h"

using namespace kxcam;

uint32_t CameraSetSnapMode(int camera, int mode) {
  return api::with_camera(camera, set_snap_mode, mode);
}

uint32_t CameraGetSnapMode(int camera, int* mode) {
  return api::get(camera, mode, get_snap_mode);
}

uint32_t CameraSetSnapNum(int camera, int count) {
  return api::with_camera_if(camera, is_snap_num(count), set_snap_num, count);
}

uint32_t CameraGetSnapNum(int camera, int* count) {
  return api::get(camera, count, get_snap_num);
}

uint32_t CameraTriggerShot(int camera) {
  return api::with_camera(camera, trigger_shot);
}

uint32_t CameraEnableStrobe(int camera, bool on) {
  return api::with_camera(camera, enable_strobe, on);
}

uint32_t CameraGetStrobe(int camera, bool* on) {
  return api::with_camera(camera, get_strobe, on);
}

uint32_t CameraSetTriggerPolarity(int camera, int polarity) {
  return api::with_camera(camera, set_trigger_polarity, polarity);
}

uint32_t CameraGetTriggerPolarity(int camera, bool* polarity) {
  return api::with_camera(camera, get_trigger_polarity, polarity);
}

uint32_t CameraSetStrobePolarity(int camera, int polarity) {
  return api::with_camera_if(camera, is_strobe_polarity(polarity), set_strobe_polarity, polarity);
}

uint32_t CameraGetStrobePolarity(int camera, int* polarity) {
  return api::get(camera, polarity, get_strobe_polarity);
}

uint32_t CameraSetTriggerDelay(int camera, int value) {
  return api::with_camera_if(camera, is_unit_time(value), set_trigger_delay, value);
}

uint32_t CameraGetTriggerDelay(int camera, int* value) {
  return api::get(camera, value, get_trigger_delay);
}

uint32_t CameraSetStrobeDelay(int camera, int value) {
  return api::with_camera_if(camera, is_unit_time(value), set_strobe_delay, value);
}

uint32_t CameraGetStrobeDelay(int camera, int* value) {
  return api::get(camera, value, get_strobe_delay);
}

uint32_t CameraSetStrobeDuration(int camera, int value) {
  return api::with_camera_if(camera, is_unit_time(value), set_strobe_duration, value);
}

uint32_t CameraGetStrobeDuration(int camera, int* value) {
  return api::get(camera, value, get_strobe_duration);
}

uint32_t CameraSetDebouncerTime(int camera, int value) {
  return api::with_camera_if(camera, is_unit_time(value), set_debouncer_time, value);
}

uint32_t CameraGetDebouncerTime(int camera, int* value) {
  return api::get(camera, value, get_debouncer_time);
}

uint32_t CameraSetGPIO(int camera, int mask, int value) {
  return api::with_camera(camera,
                          [=](CameraContext& context) { return set_gpio(context, mask, value) >= 0; });
}

uint32_t CameraGetGPIO(int camera, int* lines) {
  return api::get(camera, lines, get_gpio);
}
