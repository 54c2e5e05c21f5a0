// SPDX-License-Identifier: Apache-2.0
#include "isp/interpolation.h"

#include <cstdint>

#include "core/contexts.h"

namespace kxcam {

bool set_interpolation(int camera, int value) {
  const ContextRef ctx = find_camera(camera);
  if (!ctx) return false;
  ctx->parameter.interpolation = static_cast<uint8_t>(value);
  return true;
}

int get_interpolation(int camera) {
  const ContextRef ctx = find_camera(camera);
  if (!ctx) return -1;
  return ctx->parameter.interpolation;
}

}  // namespace kxcam
