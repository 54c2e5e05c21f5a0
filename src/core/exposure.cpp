// SPDX-License-Identifier: Apache-2.0
#include "core/exposure.h"

#include "core/contexts.h"
#include "core/last_error.h"
#include "core/sensor_family.h"

namespace kxcam {

bool set_exposure(CameraContext& camera, int32_t exposure) {
  camera.parameter.exposure = exposure;
  const auto write = camera.family.write_exposure;
  return write == nullptr || write(camera, exposure);
}

bool set_exposure(int camera, int exposure) {
  if (!check_index(camera)) return false;
  if (exposure < 1) return fail(KXCAM_ERROR_ARGUMENT);
  const ContextRef context = context_at(camera);
  return context != nullptr && set_exposure(*context, exposure);
}

int get_exposure(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.exposure.load();
}

double get_exposure_unit(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1.0 : context->line_time_ms.load();
}

double get_exposure_time(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1.0 : context->parameter.exposure * context->line_time_ms;
}

}  // namespace kxcam
