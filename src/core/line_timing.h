// SPDX-License-Identifier: Apache-2.0
#pragma once

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

}  // namespace kxcam
