// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/acquisition/video.h"
#include "core/control/frame_timing.h"

using namespace kxcam;

uint32_t CameraSetFrameRate(int camera, bool fixed, double fps) {
  return api::run([&] { return set_frame_rate(camera, fixed, fps); });
}

uint32_t CameraGetFrameRate(int camera, bool* fixed, double* fps) {
  return api::run([&] { return get_frame_rate(camera, fixed, fps); });
}

uint32_t CameraSetHighspeed(int camera, bool on) {
  return api::run([&] { return set_highspeed(camera, on); });
}

uint32_t CameraGetHighspeed(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_highspeed(camera); });
}

uint32_t CameraSetGlobalReset(int camera, bool on) {
  return api::run([&] {
    if (!set_global_reset(camera, on)) return false;
    if (on) clear_host_buffer(camera);
    return true;
  });
}

uint32_t CameraGetGlobalReset(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_global_reset(camera); });
}

uint32_t CameraSetDelay(int camera, int lines) {
  return api::run([&] { return set_delay(camera, lines); });
}

uint32_t CameraGetDelay(int camera, int* lines) {
  return api::get(lines, [&] { return get_delay(camera); });
}
