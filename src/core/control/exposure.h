// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

/// Computes `line_time_ms` and `flicker_lines` for a readout of that size; a size of 0 in either direction
/// stands for the present one. Both keep their values when the sensor does not tell its timing, or tells
/// one that no sensor can have, and on sensors whose timing is not known.
///
/// Returns the horizontal blanking in pixel clocks, or -1. Codes 1, 3, 4, 10.
int set_exposure_width(int camera, int width, int height);
int set_exposure_width(CameraContext& camera, int width, int height);

/// Horizontal blanking at that readout size, in pixel clocks: what the line is longer than its pixels. -1 on
/// failure, with codes as above.
int get_extra_exposure_width(int camera, int width, int height);

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
