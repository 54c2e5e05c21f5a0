// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

enum ColorMode : uint32_t {
  kRGGB = 1,
  kBGGR = 2,
  kGRBG = 3,
  kGBRG = 4,
  kMono8 = 5,
  kMono12 = 6,  ///< 12 significant bits, little-endian, in two bytes
};

struct SensorSize {
  int32_t width;
  int32_t height;

  constexpr int32_t pixels() const { return width * height; }
};

}  // namespace kxcam
