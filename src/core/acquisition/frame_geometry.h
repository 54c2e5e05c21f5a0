// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// The current readout as the sensor sends it: columns, rows and bytes of a raw sample. One word, so
/// that the reader and the queries never see the width of one geometry with the height of another.
struct FrameGeometry {
  uint16_t frame_width = 0;
  uint16_t frame_height = 0;
  uint32_t bytes_per_pixel = 0;  ///< 1 or 2

  bool operator==(const FrameGeometry&) const = default;
  constexpr int32_t pixels() const { return int32_t{frame_width} * frame_height; }
};

}  // namespace kxcam
