// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "isp/frame_placement.h"
#include "isp/image_view.h"

namespace kxcam {

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

}  // namespace kxcam
