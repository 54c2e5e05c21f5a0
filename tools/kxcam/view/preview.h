// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "picture.h"
#include "requests.h"

namespace kxcam::view {

/// A picture of one byte per sample with samples of its own.
struct Preview {
  int width = 0;
  int height = 0;
  int channels = 1;
  int step = 1;    ///< pixels of the original in one of its own, in each direction
  Rectangle part;  ///< of the original that it shows
  std::vector<uint8_t> samples;
};

/// Makes `picture`, of one byte per sample, small enough: each pixel is the mean of step x step. With the
/// zebra those get stripes in which any sample of the original is at full scale, so that no highlight is too
/// small to be seen. A part outside the picture is all of it.
Preview make_preview(const Picture& picture, const Look& look);

}  // namespace kxcam::view
