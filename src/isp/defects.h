// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "isp/image_view.h"

namespace kxcam {

/// How the pixels of a frame were taken from the sensor.
enum class Readout : uint8_t {
  kFullSensor,
  kWindow,  ///< a region of interest or a centred window, every pixel of it
  kBinned,  ///< a centred window of twice the frame's width and height
};

/// Where a frame lies on the sensor.
struct FramePlacement {
  Readout readout = Readout::kFullSensor;
  int32_t x0 = 0;  ///< sensor column of the frame's first; below 0 for a frame wider than the sensor
  int32_t y0 = 0;
};

/// A site that does not see, in sensor coordinates.
struct DeadPixel {
  uint16_t x;
  uint16_t y;

  bool operator==(const DeadPixel&) const = default;
};

/// As many as the camera's EEPROM has room for.
inline constexpr size_t kMaxDeadPixels = 63;

struct DeadPixelList {
  uint16_t dead_pixel_count = 0;
  std::array<DeadPixel, kMaxDeadPixels> dead_pixels{};

  /// Nothing for a count that no list can have, such as the 255 of an erased memory.
  std::span<const DeadPixel> listed() const {
    if (dead_pixel_count > kMaxDeadPixels) return {};
    return std::span(dead_pixels).first(dead_pixel_count);
  }
};

/// Replaces every listed pixel that the frame shows by the pixel two columns to its left, the nearest of
/// the same colour. Acts in the order of the list: a pixel may take a value that was itself replaced.
void replace_dead_pixels(const MutableImageView& frame, const FramePlacement& placement,
                         std::span<const DeadPixel> list);

/// Columns and rows from the margin to size - margin are looked at.
inline constexpr int kSpeckleMargin = 6;
/// A speckle is at least as bright as this,
inline constexpr int kLeastSpeckle = 101;
/// and brighter than its neighbours' mean by more than this.
inline constexpr int kSpeckleTolerance = 50;

/// Darkens single bright pixels: one above 100 that exceeds the mean of the four nearest of its colour in
/// its row and column by more than 50 takes that mean. In place and in reading order: repaired neighbours
/// count as they are repaired. The first six rows and columns and the last five stay as they are.
void despeckle(const MutableImageView& frame);

}  // namespace kxcam
