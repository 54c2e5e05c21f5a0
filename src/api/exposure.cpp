// SPDX-License-Identifier: Apache-2.0
#include "core/control/exposure.h"

#include "api/boundary.h"
#include "core/control/auto_exposure.h"
#include "core/control/frame_timing.h"

using namespace kxcam;

uint32_t CameraSetExposure(int camera, int lines) {
  return api::with_camera_if(camera, is_exposure(lines), set_exposure, lines);
}

uint32_t CameraGetExposure(int camera, int* lines) {
  return api::get(camera, lines, get_exposure);
}

uint32_t CameraGetExposureUnit(int camera, double* milliseconds) {
  return api::get(camera, milliseconds, get_exposure_unit);
}

uint32_t CameraGetExposureTime(int camera, double* milliseconds) {
  return api::get(camera, milliseconds, get_exposure_time);
}

uint32_t CameraGetAvg(int camera, int* level) {
  return api::get(camera, level, get_avg);
}

uint32_t CameraSetGain(int camera, int gain) {
  return api::with_camera_if(camera, is_gain(gain), set_gain, gain);
}

uint32_t CameraGetGain(int camera, int* gain) {
  return api::get(camera, gain, get_gain);
}

uint32_t CameraSetAdvancedGain(int camera, int level) {
  return api::with_camera_if(camera, is_advanced_gain(level), set_advanced_gain, level);
}

uint32_t CameraGetAdvancedGain(int camera, int* level) {
  return api::get(camera, level, get_advanced_gain);
}

uint32_t CameraSetAEC(int camera, bool on) {
  return api::with_camera(camera, set_aec, on);
}

uint32_t CameraGetAEC(int camera, bool* on) {
  return api::get_switch(camera, on, get_aec);
}

uint32_t CameraSetAGC(int camera, bool on) {
  return api::with_camera(camera, set_agc, on);
}

uint32_t CameraGetAGC(int camera, bool* on) {
  return api::get_switch(camera, on, get_agc);
}

uint32_t CameraSetAETarget(int camera, int level) {
  return api::with_camera_if(camera, is_ae_target(level), set_ae_target, level);
}

uint32_t CameraGetAETarget(int camera, int* level) {
  return api::get(camera, level, get_ae_target);
}

uint32_t CameraSetAntiFlicker(int camera, int mode) {
  return api::with_camera(camera, set_anti_flicker, mode);
}

uint32_t CameraGetAntiFlicker(int camera, int* mode) {
  return api::with_camera(camera, [mode](const CameraContext& context) {
    const int value = get_anti_flicker(context);
    if (value == 0) return false;  // off counts as a failure
    *mode = value;
    return true;
  });
}

uint32_t CameraSetFrameRate(int camera, bool fixed, double fps) {
  return api::with_camera_if(camera, is_frame_rate(fps), set_frame_rate, fixed, fps);
}

uint32_t CameraGetFrameRate(int camera, bool* fixed, double* fps) {
  return api::with_camera(camera, get_frame_rate, fixed, fps);
}

uint32_t CameraSetHighspeed(int camera, bool on) {
  return api::with_camera(camera, set_highspeed, on);
}

uint32_t CameraGetHighspeed(int camera, bool* on) {
  return api::get_switch(camera, on, get_highspeed);
}

uint32_t CameraSetGlobalReset(int camera, bool on) {
  return api::with_camera(camera, select_global_reset, on);
}

uint32_t CameraGetGlobalReset(int camera, bool* on) {
  return api::get_switch(camera, on, get_global_reset);
}

uint32_t CameraSetDelay(int camera, int lines) {
  return api::with_camera(camera, set_delay, lines);
}

uint32_t CameraGetDelay(int camera, int* lines) {
  return api::get(camera, lines, get_delay);
}
