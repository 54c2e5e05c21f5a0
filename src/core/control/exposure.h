// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Computes `line_time_ms` and `flicker_lines` for a readout of that size; a size of 0 in either direction
/// stands for the present one. Both keep their values when the sensor does not tell its timing, or tells
/// one that no sensor can have, and on sensors whose timing is not known.
///
/// Returns the horizontal blanking in pixel clocks, or -1 with NO_DEVICE or READ_REQUEST.
int set_exposure_width(CameraContext& camera, int width, int height);

/// Horizontal blanking at that readout size, in pixel clocks: what the line is longer than its pixels. -1 on
/// failure, as above.
int get_extra_exposure_width(CameraContext& camera, int width, int height);

/// Exposure in sensor lines, 1 and up. Stored first; the result is that of the write on which the sensor
/// family lets it depend. NOT_SUPPORTED when the sensor is in a mode that takes no exposure.
bool is_exposure(int lines);
bool set_exposure(CameraContext& camera, int lines);

/// Sends the stored exposure again: on many sensors its registers depend on the size of the readout.
void reapply_exposure(CameraContext& camera);

/// Exposure last set by the application or by auto exposure, in lines.
int get_exposure(const CameraContext& camera);

/// Duration of one line in milliseconds; 0 while it is not known.
double get_exposure_unit(const CameraContext& camera);

/// Exposure in milliseconds.
double get_exposure_time(const CameraContext& camera);

}  // namespace kxcam
