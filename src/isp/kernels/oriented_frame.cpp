// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/oriented_frame.h"

#include "isp/frame_settings.h"

namespace kxcam {

OrientedFrame::OrientedFrame(const IndexMap& map) : columns(), rows(), turned(is_rotated(map)) {
  if (turned) {
    // A clockwise turn puts the first raw row into the last column.
    columns = {map.height(), map.row_step() < 0};
    rows = {map.width(), map.column_step() < 0};
  } else {
    columns = {map.width(), map.column_step() < 0};
    rows = {map.height(), map.row_step() < 0};
  }
}

BayerPhase OrientedFrame::turn(BayerPhase raw) const {
  const int red_column = turned ? raw.red_y : raw.red_x;
  const int red_row = turned ? raw.red_x : raw.red_y;
  return {columns.flipped(red_column) & 1, rows.flipped(red_row) & 1};
}

}  // namespace kxcam
