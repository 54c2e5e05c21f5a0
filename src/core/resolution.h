// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Codes of all: 1, 3; those that ask the device also 4, and 10 when the request fails or the reply
// names an impossible geometry, which changes nothing. Output pointers may be null.

/// Number of presets, or -1.
int get_resolution_count(int camera);

/// Largest size that the camera offers.
bool get_resolution_max(int camera, int* width, int* height);

/// Size of a preset in the picture's view and its bytes per raw sample.
bool get_resolution(int camera, int preset, int* width, int* height, int* bytes);

/// Selects a preset and ends a region of interest; outputs as get_resolution().
bool set_resolution(int camera, int preset, int* width, int* height, int* bytes);

/// Readout mode, the low eight bits; stored even if the request fails.
bool set_resolution_mode(int camera, int mode);
/// Readout mode last set, or -1.
int get_resolution_mode(int camera);

}  // namespace kxcam
