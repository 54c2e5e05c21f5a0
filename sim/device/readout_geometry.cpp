// SPDX-License-Identifier: Apache-2.0
#include "device/readout_geometry.h"

#include <algorithm>

namespace kxsim {

ReadoutGeometry::ReadoutGeometry(const CameraOptions& options)
    : sensor_{.width = options.model->width, .height = options.model->height},
      bytes_per_pixel_(sample_bytes(options.model->color)),
      half_frames_(options.half_frames),
      current_(sensor_) {}

std::optional<Readout> ReadoutGeometry::preset(int number) const {
  // Even positions and sizes keep the Bayer phase.
  const auto even = [](int n) { return n & ~1; };
  switch (number) {
    case 0:
      return sensor_;
    case 1:
      return Readout{.width = even(sensor_.width / 2), .height = even(sensor_.height / 2), .step = 2};
    case 2: {
      const int width = std::min(640, sensor_.width);
      const int height = std::min(480, sensor_.height);
      return Readout{.x = even((sensor_.width - width) / 2),
                     .y = even((sensor_.height - height) / 2),
                     .width = width,
                     .height = height};
    }
    default:
      return std::nullopt;
  }
}

bool ReadoutGeometry::select_preset(int number) {
  const auto chosen = preset(number);
  if (chosen) current_ = *chosen;
  return chosen.has_value();
}

bool ReadoutGeometry::select_window(int x, int y, int width, int height) {
  const bool inside = x >= 0 && y >= 0 && width > 0 && height > 0 && x + width <= sensor_.width &&
                      y + height <= sensor_.height;
  if (inside) current_ = {.x = x, .y = y, .width = width, .height = height};
  return inside;
}

}  // namespace kxsim
