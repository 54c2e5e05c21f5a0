// SPDX-License-Identifier: Apache-2.0
#include "core/control/gain.h"

#include "core/registry/camera_context.h"
#include "core/sensors/sensor_family.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {
constexpr int kHighestGain = 255;
}

bool is_gain(int gain) {
  return gain >= 1 && gain <= kHighestGain;
}

bool set_gain(CameraContext& camera, int gain) {
  if (!is_gain(gain)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.gain = gain;
  const auto write = camera.family.write_gain;
  return write == nullptr || write(camera, gain);
}

int get_gain(const CameraContext& camera) {
  return camera.parameter.gain;
}

bool is_advanced_gain(int level) {
  return level >= 0 && level <= kHighestGain;
}

bool set_advanced_gain(CameraContext& camera, int level) {
  if (!is_advanced_gain(level)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.advanced_gain = level;
  if (const auto write = camera.family.write_advanced_gain) write(camera, level);
  return true;
}

int get_advanced_gain(const CameraContext& camera) {
  return camera.parameter.advanced_gain;
}

}  // namespace kxcam
