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

// The setters refuse what is out of range (ARGUMENT), and store the value before they write.

/// Exposure in sensor lines, 1 and up. The result is that of the write on which the sensor
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

/// Gain, 1..255 on a scale that each sensor family maps to its registers.
bool is_gain(int gain);
bool set_gain(CameraContext& camera, int gain);
int get_gain(const CameraContext& camera);

/// Advanced gain, 0..255: a coarse range or conversion gain of the sensor. The sensor's answer does not
/// matter.
bool is_advanced_gain(int level);
bool set_advanced_gain(CameraContext& camera, int level);
int get_advanced_gain(const CameraContext& camera);

}  // namespace kxcam
