// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace kxcam {

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
