// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/picture/correction_settings.h"

using namespace kxcam;

uint32_t CameraSetDenoise(int camera, bool on) {
  return api::run([&] { return set_denoise(camera, on); });
}

uint32_t CameraGetDenoise(int camera, bool* on) {
  return api::get(on, [&] { return get_denoise(camera); });
}

uint32_t CameraSetFPN(int camera, bool on) {
  return api::run([&] { return set_fpn(camera, on); });
}

uint32_t CameraGetFPN(int camera, bool* on) {
  return api::get(on, [&] { return get_fpn(camera); });
}
