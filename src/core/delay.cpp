// SPDX-License-Identifier: Apache-2.0
#include "core/delay.h"

#include <algorithm>

#include "core/contexts.h"
#include "core/sensor_family.h"

namespace kxcam {

void reapply_delay(CameraContext& camera) {
  if (const auto write = camera.family.write_delay) write(camera, camera.parameter.delay);
}

bool set_delay(int camera, int lines) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  open->parameter.delay = std::max(lines, 0);
  reapply_delay(*open.context);
  return true;
}

int get_delay(int camera) {
  const OpenCamera open = find_open_camera(camera);
  return open ? open->parameter.delay.load() : -1;
}

}  // namespace kxcam
