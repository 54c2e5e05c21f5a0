// SPDX-License-Identifier: Apache-2.0
#include "core/control/gain.h"

#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {
constexpr int kHighestGain = 255;
}

bool set_gain(int camera, int gain) {
  if (!check_index(camera)) return false;
  if (gain < 1 || gain > kHighestGain) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  if (context == nullptr) return false;
  context->parameter.gain = gain;
  const auto write = context->family.write_gain;
  return write == nullptr || write(*context, gain);
}

int get_gain(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.gain.load();
}

bool set_advanced_gain(int camera, int level) {
  if (!check_index(camera)) return false;
  if (level < 0 || level > kHighestGain) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  if (context == nullptr) return false;
  context->parameter.advanced_gain = level;
  if (const auto write = context->family.write_advanced_gain) write(*context, level);
  return true;
}

int get_advanced_gain(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.advanced_gain.load();
}

}  // namespace kxcam
