// SPDX-License-Identifier: Apache-2.0
#include "isp/index_map.h"

#include <cstdlib>

namespace kxcam {

IndexMap::IndexMap(int32_t width, int32_t height, bool mirror_x, bool mirror_y, bool rotate)
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

// Read from the map and not from the flag: the flag changes before the map does.
bool is_rotated(const IndexMap& map) {
  return std::abs(map.column_step()) != 1 || std::abs(map.row_step()) != map.width();
}

}  // namespace kxcam
