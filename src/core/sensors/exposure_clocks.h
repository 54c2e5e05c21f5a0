// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/sensors/sensor_family.h"

namespace kxcam {

/// Timing of sensors whose line lasts `fixed` clocks of 57.6 MHz, and `shared` clocks spread over the lines
/// of the exposure.
LineTiming exposure_dependent_line(const CameraContext& camera, double shared, double fixed);

/// Gain of the loop on these sensors: the lower part of the range in coarse steps.
bool write_coarse_loop_gain(CameraContext& camera, int32_t gain);

}  // namespace kxcam
