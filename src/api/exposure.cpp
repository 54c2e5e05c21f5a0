// SPDX-License-Identifier: Apache-2.0
#include "core/control/exposure.h"

#include "api/boundary.h"
#include "core/control/auto_exposure.h"
#include "core/control/gain.h"

using namespace kxcam;

uint32_t CameraSetExposure(int camera, int lines) {
  return api::run([&] { return set_exposure(camera, lines); });
}

uint32_t CameraGetExposure(int camera, int* lines) {
  return api::get(lines, [&] { return get_exposure(camera); });
}

uint32_t CameraGetExposureUnit(int camera, double* milliseconds) {
  return api::get(milliseconds, [&] { return get_exposure_unit(camera); });
}

uint32_t CameraGetExposureTime(int camera, double* milliseconds) {
  return api::get(milliseconds, [&] { return get_exposure_time(camera); });
}

uint32_t CameraGetAvg(int camera, int* level) {
  return api::get(level, [&] { return get_avg(camera); });
}

uint32_t CameraSetGain(int camera, int gain) {
  return api::run([&] { return set_gain(camera, gain); });
}

uint32_t CameraGetGain(int camera, int* gain) {
  return api::get(gain, [&] { return get_gain(camera); });
}

uint32_t CameraSetAdvancedGain(int camera, int level) {
  return api::run([&] { return set_advanced_gain(camera, level); });
}

uint32_t CameraGetAdvancedGain(int camera, int* level) {
  return api::get(level, [&] { return get_advanced_gain(camera); });
}

uint32_t CameraSetAEC(int camera, bool on) {
  return api::run([&] { return set_aec(camera, on); });
}

uint32_t CameraGetAEC(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_aec(camera); });
}

uint32_t CameraSetAGC(int camera, bool on) {
  return api::run([&] { return set_agc(camera, on); });
}

uint32_t CameraGetAGC(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_agc(camera); });
}

uint32_t CameraSetAETarget(int camera, int level) {
  return api::run([&] { return set_ae_target(camera, level); });
}

uint32_t CameraGetAETarget(int camera, int* level) {
  return api::get(level, [&] { return get_ae_target(camera); });
}

uint32_t CameraSetAntiFlicker(int camera, int mode) {
  return api::run([&] { return set_anti_flicker(camera, mode); });
}

uint32_t CameraGetAntiFlicker(int camera, int* mode) {
  return api::run([&] {
    const int value = get_anti_flicker(camera);
    if (value <= 0) return false;  // off counts as a failure
    *mode = value;
    return true;
  });
}
