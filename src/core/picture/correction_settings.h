// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Corrections of the raw frame. Codes of all: 1, 3. Thread-safe; they act from the next frame on.

/// Removal of single bright pixels; on after open.
bool set_denoise(int camera, bool on);
/// 0 or 1; -1 on failure.
int get_denoise(int camera);

/// Correction of the fixed pattern; on after open, with tables that change nothing.
bool set_fpn(int camera, bool on);
/// 0 or 1; -1 on failure.
int get_fpn(int camera);

/// Replaces the first `ncols` entries of the column tables (columns of even and of odd rows) and the first
/// `nrows` of the row table; see FlatField. A table with a null pointer, or both column tables when one
/// of the two is null, stays as it is, and so does one with a length below 1. In resolution mode 3 the rows
/// are not taken: the row table becomes all zero. Code 2 for a length beyond the sensor, which changes
/// nothing.
bool set_fpn_data(int camera, const double* col_even, const double* col_odd, const double* row, int ncols,
                  int nrows);

/// Stores the low eight bits of `value`. The demosaic is bilinear whatever they are. Codes 1, 3.
bool set_interpolation(int camera, int value);

/// What was stored, 0..255; -1 with code 1 or 3.
int get_interpolation(int camera);

}  // namespace kxcam
