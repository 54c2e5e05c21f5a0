// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// The place of every raw pixel in the delivered picture under mirror and rotation. All eight maps
/// are affine in (x, y), so the map is its three coefficients and not a table of a pixel each.
///
/// invariant: the output numbers of the width() x height() pixels are a permutation of
/// 0..count() - 1.
class IndexMap {
 public:
  IndexMap() = default;

  /// Rotation is by 90 degrees clockwise, after the mirrors have been applied to the raw frame's axes
  /// as the eight cases in index_map.cpp spell out.
  IndexMap(int32_t width, int32_t height, bool mirror_x, bool mirror_y, bool rotate);

  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  /// `index_map_count`: pixels of the frame the map was built for.
  int32_t count() const { return width_ * height_; }

  /// Output pixel number of raw pixel (0, 0), and its change per raw column and per raw row.
  int32_t origin() const { return origin_; }
  int32_t column_step() const { return column_step_; }
  int32_t row_step() const { return row_step_; }

  /// Output pixel number of the i-th raw pixel in row-major order.
  int32_t operator[](int32_t i) const {
    return origin_ + (i % width_) * column_step_ + (i / width_) * row_step_;
  }

 private:
  int32_t width_ = 0;
  int32_t height_ = 0;
  int32_t origin_ = 0;
  int32_t column_step_ = 1;
  int32_t row_step_ = 0;
};

/// Whether the map turns the picture by 90 degrees.
bool is_rotated(const IndexMap& map);

}  // namespace kxcam
