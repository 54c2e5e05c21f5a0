// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace kxcam {

struct CameraContext;

// Settings that pictures are made with from the next frame on; the camera itself is not written to. All are
// thread-safe; concurrent setters follow one another.

// Tone and colour. A setter that is given a value out of range (NaN included) fails with ARGUMENT and changes
// nothing.

/// Range of gamma and contrast: 0.3..2.0.
bool is_tone_factor(double value);

bool set_gamma(CameraContext& camera, double gamma);
double get_gamma(const CameraContext& camera);

bool set_contrast(CameraContext& camera, double contrast);
double get_contrast(const CameraContext& camera);

bool is_black_level(int level);  ///< 0..255
bool set_black_level(CameraContext& camera, int level);
int get_black_level(const CameraContext& camera);

bool is_saturation(double value);  ///< 0.0..2.0
bool set_saturation(CameraContext& camera, double saturation);
double get_saturation(const CameraContext& camera);

/// Switches between the camera's own colour matrix and the default one. The gamma curve is rebuilt as
/// well, but the composed curves stay as they are until another setting composes them.
bool set_enhancement(CameraContext& camera, bool on);
int get_enhancement(const CameraContext& camera);

/// The camera's own colour matrix, row-major; acts from the next set_saturation() or
/// set_enhancement() on.
void set_ccm(CameraContext& camera, std::span<const double, 9> ccm);
void get_ccm(const CameraContext& camera, std::span<double, 9> ccm);

/// Sets the first min(length, 4096) entries of the table from 12-bit samples to bytes.
bool set_lut(CameraContext& camera, const uint8_t* lut, int length);

/// With `lut` null stores the useful length of the table in `length`: 4096 on a 12-bit model, else
/// 256. With `lut` given copies min(*length, 4096) entries.
bool get_lut(const CameraContext& camera, uint8_t* lut, int* length);

// Corrections of the raw frame.

/// Removal of single bright pixels; on after open.
bool set_denoise(CameraContext& camera, bool on);
int get_denoise(const CameraContext& camera);

/// Correction of the fixed pattern; on after open, with tables that change nothing.
bool set_fpn(CameraContext& camera, bool on);
int get_fpn(const CameraContext& camera);

/// Replaces the first `ncols` entries of the column tables (columns of even and of odd rows) and the first
/// `nrows` of the row table; see FlatField. A table with a null pointer, or both column tables when one
/// of the two is null, stays as it is, and so does one with a length below 1. In resolution mode 3 the rows
/// are not taken: the row table becomes all zero. ARGUMENT for a length beyond the sensor, which changes
/// nothing.
bool set_fpn_data(CameraContext& camera, const double* col_even, const double* col_odd, const double* row,
                  int ncols, int nrows);

/// Stores the low eight bits of `value`. The demosaic is bilinear whatever they are.
bool set_interpolation(CameraContext& camera, int value);

/// What was stored, 0..255.
int get_interpolation(const CameraContext& camera);

}  // namespace kxcam
