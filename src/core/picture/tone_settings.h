// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace kxcam {

/// Tone and colour settings of a camera. They rebuild the tables that the next frame is processed
/// with; the camera itself is not written to.
///
/// Setters fail with code 1 (index), 2 (value out of range, NaN included) or 3 (nothing open there),
/// tested in that order, and change nothing then. Getters give -1 with code 1 or 3. All are
/// thread-safe; concurrent setters follow one another.

bool set_gamma(int camera, double gamma);  ///< 0.3..2.0
double get_gamma(int camera);

bool set_contrast(int camera, double contrast);  ///< 0.3..2.0
double get_contrast(int camera);

bool set_black_level(int camera, int level);  ///< 0..255
int get_black_level(int camera);

bool set_saturation(int camera, double saturation);  ///< 0.0..2.0
double get_saturation(int camera);

/// Switches between the camera's own colour matrix and the default one. The gamma curve is rebuilt as
/// well, but the composed curves stay as they are until another setting composes them.
bool set_enhancement(int camera, bool on);
int get_enhancement(int camera);

/// The camera's own colour matrix, row-major; acts from the next set_saturation() or
/// set_enhancement() on.
bool set_ccm(int camera, std::span<const double, 9> ccm);
bool get_ccm(int camera, std::span<double, 9> ccm);

/// Sets the first min(length, 4096) entries of the table from 12-bit samples to bytes.
bool set_lut(int camera, const uint8_t* lut, int length);

/// With `lut` null stores the useful length of the table in `length`: 4096 on a 12-bit model, else
/// 256. With `lut` given copies min(*length, 4096) entries.
bool get_lut(int camera, uint8_t* lut, int* length);

}  // namespace kxcam
