// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

// Codes of all: 1, 3.

/// Exposure in sensor lines, 1 and up (code 2). Stored first; the result is that of the sensor family's
/// decisive write. Code 8 when the sensor is in a mode that takes no exposure.
bool set_exposure(int camera, int exposure);
bool set_exposure(CameraContext& camera, int32_t exposure);

/// Exposure last set by the application or by auto exposure, in lines; -1 on failure.
int get_exposure(int camera);

/// Duration of one line in milliseconds; 0 while it is not known, -1 on failure.
double get_exposure_unit(int camera);

/// Exposure in milliseconds; -1 on failure.
double get_exposure_time(int camera);

}  // namespace kxcam
