// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/camera_context.h"

namespace kxcam {

/// A window of the sensor in sensor pixels.
struct SensorWindow {
  uint16_t x;
  uint16_t y;
  uint16_t width;
  uint16_t height;

  bool operator==(const SensorWindow&) const = default;
};

/// The window of the sensor that a region in the picture's view comes from. Nothing when the region
/// is not aligned as the sensor needs it or does not lie on the sensor.
std::optional<SensorWindow> MapViewToSensor(const CameraContext& context, int x, int y, int w, int h);

/// Reads out a region given in the picture's view. Codes 1, 3, 4; 2 for a region that the sensor cannot
/// read out; 11 and 10 when the camera refuses. After a failure the geometry is as it was.
bool set_ROI(int camera, int x, int y, int w, int h);

}  // namespace kxcam
