// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

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

}  // namespace kxcam
