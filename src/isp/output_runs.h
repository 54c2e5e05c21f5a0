// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

#include "isp/index_map.h"

namespace kxcam {

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
