// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/picture/picture_settings.h"
#include "core/picture/white_balance_settings.h"

using namespace kxcam;

uint32_t CameraSetGamma(int camera, double gamma) {
  return api::with_camera_if(camera, is_tone_factor(gamma), set_gamma, gamma);
}

uint32_t CameraGetGamma(int camera, double* gamma) {
  return api::get(camera, gamma, get_gamma);
}

uint32_t CameraSetContrast(int camera, double contrast) {
  return api::with_camera_if(camera, is_tone_factor(contrast), set_contrast, contrast);
}

uint32_t CameraGetContrast(int camera, double* contrast) {
  return api::get(camera, contrast, get_contrast);
}

uint32_t CameraSetSaturation(int camera, double saturation) {
  return api::with_camera_if(camera, is_saturation(saturation), set_saturation, saturation);
}

uint32_t CameraGetSaturation(int camera, double* saturation) {
  return api::get(camera, saturation, get_saturation);
}

uint32_t CameraSetBlackLevel(int camera, int level) {
  return api::with_camera_if(camera, is_black_level(level), set_black_level, level);
}

uint32_t CameraGetBlackLevel(int camera, int* level) {
  return api::get(camera, level, get_black_level);
}

uint32_t CameraSetEnhancement(int camera, bool on) {
  return api::with_camera(camera, set_enhancement, on);
}

uint32_t CameraGetEnhancement(int camera, bool* on) {
  return api::get_switch(camera, on, get_enhancement);
}

uint32_t CameraSetLUT(int camera, const uint8_t* table, int length) {
  return api::with_camera(camera, set_lut, table, length);
}

uint32_t CameraGetLUT(int camera, uint8_t* table, int* length) {
  return api::with_camera(camera, get_lut, table, length);
}

uint32_t CameraSetWBGain(int camera, double r, double g, double b) {
  return api::with_camera_if(camera, are_wb_gains(r, g, b), set_wb_gain, r, g, b);
}

uint32_t CameraGetWBGain(int camera, double* r, double* g, double* b) {
  return api::with_camera(camera, get_wb_gain, r, g, b);
}

uint32_t CameraSetAWB(int camera, bool on) {
  return api::with_camera(camera, set_awb, on);
}

uint32_t CameraGetAWB(int camera, bool* on) {
  return api::get_switch(camera, on, get_awb);
}

uint32_t CameraOnePushWB(int camera) {
  return api::with_camera(camera, one_push_wb);
}

uint32_t CameraSetDenoise(int camera, bool on) {
  return api::with_camera(camera, set_denoise, on);
}

uint32_t CameraGetDenoise(int camera, bool* on) {
  return api::get(camera, on, get_denoise);
}

uint32_t CameraSetFPN(int camera, bool on) {
  return api::with_camera(camera, set_fpn, on);
}

uint32_t CameraGetFPN(int camera, bool* on) {
  return api::get(camera, on, get_fpn);
}

uint32_t CameraSetInterpolation(int camera, int value) {
  return api::with_camera(camera, set_interpolation, value);
}

uint32_t CameraGetInterpolation(int camera, int* value) {
  return api::get(camera, value, get_interpolation);
}
