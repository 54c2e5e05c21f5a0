// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "picture.h"
#include "requests.h"

namespace kxcam::view {

/// How often each level occurs, of one colour.
using Histogram = std::array<uint32_t, 256>;

/// What a histogram says in one number each.
struct Levels {
  double mean = 0;     ///< 0..255
  double clipped = 0;  ///< per cent at full scale
  double black = 0;    ///< per cent at 0
};
Levels levels_of(const Histogram& histogram);

/// Histograms of every second row of a picture of one byte per sample, one for each channel.
std::vector<Histogram> picture_histograms(const Picture& picture);

/// Of the raw frame in pairs of rows, every second pair: of red, green and blue, or one where `bayer`
/// (#kxcam_bayer) says that there are no colours. Samples of 12 bits count by their upper 8.
std::vector<Histogram> raw_histograms(const Picture& raw, int bayer);

/// How sharp the part of a picture is: the root mean square of the difference of green, or grey, over two
/// pixels in a row. It depends on what is seen and on noise, so that it only serves to compare.
double sharpness(const Picture& picture, const Rectangle& part);

}  // namespace kxcam::view
