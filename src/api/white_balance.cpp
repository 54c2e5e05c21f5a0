// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/picture/white_balance_settings.h"

using namespace kxcam;

uint32_t CameraSetWBGain(int camera, double r, double g, double b) {
  return api::run([&] { return set_wb_gain(camera, r, g, b); });
}

uint32_t CameraGetWBGain(int camera, double* r, double* g, double* b) {
  return api::run([&] { return get_wb_gain(camera, r, g, b); });
}

uint32_t CameraSetAWB(int camera, bool on) {
  return api::run([&] { return set_awb(camera, on); });
}

uint32_t CameraGetAWB(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_awb(camera); });
}

uint32_t CameraOnePushWB(int camera) {
  return api::run([&] { return one_push_wb(camera); });
}
