// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "usb/control_channel.h"

using namespace kxcam;

uint32_t CameraSetGPIO(int camera, int mask, int value) {
  return api::run([&] { return set_gpio(camera, mask, value) >= 0; });
}

uint32_t CameraGetGPIO(int camera, int* lines) {
  return api::get(lines, [&] { return get_gpio(camera); });
}
