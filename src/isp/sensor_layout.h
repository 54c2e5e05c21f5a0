// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

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

/// Column and row parity of the red site in the 2 x 2 cell; blue stands diagonally opposite.
struct BayerPhase {
  int red_x;
  int red_y;

  constexpr bool red_row(int y) const { return (y & 1) == red_y; }
  /// Column parity of the green sites of a row.
  constexpr int green_x(int y) const { return red_row(y) ? 1 - red_x : red_x; }
};

inline constexpr BayerPhase kPhaseBGGR = {1, 1};
inline constexpr BayerPhase kPhaseGBRG = {0, 1};
inline constexpr BayerPhase kPhaseGRBG = {1, 0};
inline constexpr BayerPhase kPhaseRGGB = {0, 0};

/// Nothing for a monochrome sensor.
constexpr std::optional<BayerPhase> bayer_phase(uint32_t color_mode) {
  switch (color_mode) {
    case kRGGB:
      return kPhaseRGGB;
    case kBGGR:
      return kPhaseBGGR;
    case kGRBG:
      return kPhaseGRBG;
    case kGBRG:
      return kPhaseGBRG;
    default:
      return std::nullopt;
  }
}

/// The other column (or row) of the 2 x 2 cell; where the frame ends before it, the one on the other
/// side, which holds the same colours, and the pixel's own in a frame of one column.
constexpr int cell_partner(int i, int size) {
  if ((i ^ 1) < size) return i ^ 1;
  return std::max(i - 1, 0);
}

}  // namespace kxcam
