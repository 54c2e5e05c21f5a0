// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/bayer_phase.h"
#include "isp/image_view.h"

namespace kxcam {

/// The samples of a 2 x 2 cell whose first pixel is at an even column and row.
struct BayerCell {
  BayerCell(const ImageView& raw, BayerPhase phase, int x, int y)
      : red(raw.at(x + phase.red_x, y + phase.red_y)),
        blue(raw.at(x + 1 - phase.red_x, y + 1 - phase.red_y)),
        upper_green(raw.at(x + phase.green_x(0), y)),
        lower_green(raw.at(x + phase.green_x(1), y + 1)) {}

  int red;
  int blue;
  int upper_green;
  int lower_green;
};

}  // namespace kxcam
