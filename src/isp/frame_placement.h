// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/registry/camera_parameter.h"
#include "core/registry/model_table.h"

namespace kxcam {

/// How the pixels of a frame were taken from the sensor.
enum class Readout : uint8_t {
  kFullSensor,
  kWindow,  ///< a region of interest or a centred window, every pixel of it
  kBinned,  ///< a centred window of twice the frame's width and height
};

/// Where a frame lies on the sensor.
struct FramePlacement {
  Readout readout = Readout::kFullSensor;
  int32_t x0 = 0;  ///< sensor column of the frame's first; below 0 for a frame wider than the sensor
  int32_t y0 = 0;
};

/// The placement of a width x height frame under the region of interest and the readout mode in force.
FramePlacement place_frame(const SensorSize& sensor, const CameraParameter& parameter, int32_t width,
                           int32_t height);

}  // namespace kxcam
