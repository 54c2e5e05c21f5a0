// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace kxcam {

/// The place of every raw pixel in the delivered picture under mirror and rotation. All eight maps
/// are affine in (x, y), so the map is its three coefficients and not a table of a pixel each.
///
/// invariant: the output numbers of the width() x height() pixels are a permutation of
/// 0..count() - 1.
class IndexMap {
 public:
  IndexMap() = default;

  /// Rotation is by 90 degrees clockwise, after the mirrors have been applied to the raw axes.
  constexpr IndexMap(int32_t width, int32_t height, bool mirror_x, bool mirror_y, bool rotate)
      : width_(width), height_(height) {
    if (!rotate) {
      // (x, y) lands at (x or width - 1 - x, y or height - 1 - y) of a picture `width` wide.
      column_step_ = mirror_x ? -1 : 1;
      row_step_ = mirror_y ? -width : width;
      origin_ = (mirror_x ? width - 1 : 0) + (mirror_y ? (height - 1) * width : 0);
    } else {
      // A clockwise turn takes (x, y) to (height - 1 - y, x) of a picture `height` wide.
      column_step_ = mirror_x ? -height : height;
      row_step_ = mirror_y ? 1 : -1;
      origin_ = (mirror_x ? (width - 1) * height : 0) + (mirror_y ? 0 : height - 1);
    }
  }

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

/// Whether the map turns the picture by 90 degrees. Read from the map and not from the flag: the flag changes
/// before the map does.
inline bool is_rotated(const IndexMap& map) {
  return std::abs(map.column_step()) != 1 || std::abs(map.row_step()) != map.width();
}

/// Raw pixels first .. last - 1 of one row, whose output pixels are evenly spaced.
struct OutputRun {
  int32_t first;
  int32_t last;
  int32_t output;  ///< output pixel number of `first`
  int32_t step;

  int32_t output_of(int32_t x) const { return output + (x - first) * step; }
};

/// Cuts row `y` of a frame `width` pixels wide into runs. A frame of the map's own shape has one run
/// per row; one of another shape, whose pixels the map numbers in row-major order all the same, has a
/// cut wherever a row of the map ends.
template <class Visit>
void for_each_run(const IndexMap& map, int32_t width, int32_t y, Visit visit) {
  for (int32_t x = 0; x < width;) {
    const int32_t i = y * width + x;
    const int32_t length = std::min(width - x, map.width() - i % map.width());
    visit(OutputRun{x, x + length, map[i], map.column_step()});
    x += length;
  }
}

}  // namespace kxcam
