// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/picture/tone_settings.h"

using namespace kxcam;

uint32_t CameraSetGamma(int camera, double gamma) {
  return api::run([&] { return set_gamma(camera, gamma); });
}

uint32_t CameraGetGamma(int camera, double* gamma) {
  return api::get(gamma, [&] { return get_gamma(camera); });
}

uint32_t CameraSetContrast(int camera, double contrast) {
  return api::run([&] { return set_contrast(camera, contrast); });
}

uint32_t CameraGetContrast(int camera, double* contrast) {
  return api::get(contrast, [&] { return get_contrast(camera); });
}

uint32_t CameraSetSaturation(int camera, double saturation) {
  return api::run([&] { return set_saturation(camera, saturation); });
}

uint32_t CameraGetSaturation(int camera, double* saturation) {
  return api::get(saturation, [&] { return get_saturation(camera); });
}

uint32_t CameraSetBlackLevel(int camera, int level) {
  return api::run([&] { return set_black_level(camera, level); });
}

uint32_t CameraGetBlackLevel(int camera, int* level) {
  return api::get(level, [&] { return get_black_level(camera); });
}

uint32_t CameraSetEnhancement(int camera, bool on) {
  return api::run([&] { return set_enhancement(camera, on); });
}

uint32_t CameraGetEnhancement(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_enhancement(camera); });
}

uint32_t CameraSetLUT(int camera, const uint8_t* table, int length) {
  return api::run([&] { return set_lut(camera, table, length); });
}

uint32_t CameraGetLUT(int camera, uint8_t* table, int* length) {
  return api::run([&] { return get_lut(camera, table, length); });
}
