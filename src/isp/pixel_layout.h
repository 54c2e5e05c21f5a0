// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kxcam/kxcam.h"

namespace kxcam {

/// How a colour pixel lies in the output; green is always at byte 1, a fourth byte is never written.
struct PixelLayout {
  explicit constexpr PixelLayout(int format)
      : bytes((format & KXCAM_FORMAT_32BIT) != 0 ? 4 : 3),
        red_at((format & KXCAM_FORMAT_BGR) != 0 ? 2 : 0),
        blue_at(2 - red_at) {}

  int bytes;
  int red_at;
  int blue_at;
};

}  // namespace kxcam
