// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

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

/// A window of the sensor in sensor pixels.
struct SensorWindow {
  uint16_t x;
  uint16_t y;
  uint16_t width;
  uint16_t height;

  bool operator==(const SensorWindow&) const = default;
};

/// The region of interest that is read out.
struct RegionInForce {
  SensorWindow window;
  /// Where corrections take its first pixel to be: the offsets it was asked for with, or the window's.
  uint16_t offset_x;
  uint16_t offset_y;

  bool operator==(const RegionInForce&) const = default;
};

/// What is read out, whatever the settings say that were loaded since.
struct ReadoutInForce {
  std::optional<RegionInForce> region = {};  ///< or else the preset
  int preset = 0;

  bool operator==(const ReadoutInForce&) const = default;
};

}  // namespace kxcam
