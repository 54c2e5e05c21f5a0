// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

// Corrections of the raw frame. Thread-safe; they act from the next frame on.

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
