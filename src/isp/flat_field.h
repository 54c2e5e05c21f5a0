// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "isp/image_view.h"
#include "isp/sensor_layout.h"

namespace kxcam {

/// The fixed pattern of a sensor: what to take off the gain of every row and of every column, the
/// columns of even and of odd rows apart. 0.0 leaves a gain at 1.
class FlatField {
 public:
  /// No entries at all, as of a camera without acquisition.
  FlatField() = default;
  /// One entry of 0.0 for each column and row.
  explicit FlatField(const SensorSize& sensor);

  std::span<const double> column_table_a() const { return column_table_a_; }  ///< even rows
  std::span<const double> column_table_b() const { return column_table_b_; }  ///< odd rows
  std::span<const double> row_table() const { return row_table_; }

  /// The tables as 16-bit fractions, to compute most pixels with: every entry e as floor(-e x 2^bits), those
  /// of even and of odd columns apart. No bits: some gain is too far from 1.
  int fixed_bits() const { return fixed_bits_; }
  std::span<const int16_t> fixed_columns(size_t row_parity, size_t column_parity) const {
    return fixed_columns_[row_parity][column_parity];
  }
  std::span<const int16_t> fixed_rows() const { return fixed_rows_; }

  /// Replaces the first entries of both column tables, which must have room for them.
  void set_columns(std::span<const double> even_rows, std::span<const double> odd_rows);
  /// Replaces the first entries of the row table, which must have room for them.
  void set_rows(std::span<const double> rows);
  void clear_rows();

  /// All tables zero: the correction would change nothing.
  bool flat() const { return flat_; }

 private:
  void derive();
  void derive_fixed();

  std::vector<double> column_table_a_;
  std::vector<double> column_table_b_;
  std::vector<double> row_table_;
  std::array<std::array<std::vector<int16_t>, 2>, 2> fixed_columns_;
  std::vector<int16_t> fixed_rows_;
  int fixed_bits_ = 0;
  bool flat_ = true;
};

/// Multiplies every pixel below 255 by 1 - row entry - column entry, truncated and clamped to a byte.
/// Pixel (0, 0) is at sensor column x0 and row y0; the parity of a row is the frame's. Beyond its end a
/// table counts as 0.0.
void apply_flat_field(const MutableImageView& frame, const FlatField& field, int32_t x0, int32_t y0);

}  // namespace kxcam
