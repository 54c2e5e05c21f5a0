// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kxcam {

using Curve = std::array<uint8_t, 256>;

/// The curve i -> i.
Curve identity_curve();

/// The tone curves of a camera: what the settings built, and what they compose to.
struct ToneCurves {
  Curve gamma_curve = identity_curve();     ///< outer curve of the composition
  Curve contrast_curve = identity_curve();  ///< inner curve: contrast and black level
  Curve wb_curve_r = identity_curve();
  Curve wb_curve_g = identity_curve();
  Curve wb_curve_b = identity_curve();
  Curve final_curve_r = identity_curve();  ///< applied to colour data
  Curve final_curve_g = identity_curve();
  Curve final_curve_b = identity_curve();
  Curve mono_curve = identity_curve();  ///< applied to monochrome data
};

/// Power curve out = in ^ (1 / gamma) with fixed ends and a straight toe over the first ten entries,
/// which limits the gain in deep shadows.
Curve build_gamma_curve(double gamma);

/// Stretches the range above `black_level` to full scale and pivots contrast around its middle. A black level
/// of 255 leaves no range and acts as 0.
Curve build_contrast_curve(double contrast, int black_level);

/// Multiplies by `gain`, truncated and saturated.
Curve build_wb_curve(double gain);

/// Composition: white balance first, then `inner`, then `outer`. Returns 256.
int init_curve_table(Curve& out_r, Curve& out_g, Curve& out_b, const Curve& in_r, const Curve& in_g,
                     const Curve& in_b, Curve& out_mono, const Curve& outer, const Curve& inner);

/// init_curve_table() on the curves' own members.
void compose(ToneCurves& curves);

/// The 8-bit level of every 12-bit sample.
using UserLut = std::array<uint8_t, 4096>;

/// `in`: samples of two bytes in little-endian order, the upper four bits of which do not count; `out`: as
/// many levels.
void reduce_to_8_bits(const uint8_t* in, size_t samples, const UserLut& lut, uint8_t* out);

/// Products of every byte value with the nine elements of a 3 x 3 matrix, row-major: entry
/// [3 * row + column][v] = trunc(v x M[row][column]).
using MatrixTable = std::array<std::array<int32_t, 256>, 9>;

/// The colour matrices of a camera, as tables.
struct ColorMatrix {
  MatrixTable color_matrix_table{};
  MatrixTable grey_matrix_table{};  ///< saturation 0, default matrix; its green row makes grey pictures
};

/// Builds the tables of ccm x S, where S scales the saturation around luma by `s`. Products beyond
/// int32 saturate; a NaN counts as 0.
void init_saturation_matrix(MatrixTable& table, double s, const std::array<double, 9>& ccm);

}  // namespace kxcam
