// SPDX-License-Identifier: Apache-2.0
#include "isp/despeckle.h"

#include <cstdint>

#include "isp/speckle.h"

namespace kxcam {
void despeckle(const MutableImageView& frame) {
  for (int32_t y = kSpeckleMargin; y <= frame.height() - kSpeckleMargin; ++y) {
    const auto above = frame.row(y - 2);
    const auto row = frame.row(y);
    const auto below = frame.row(y + 2);
    for (int32_t x = kSpeckleMargin; x <= frame.width() - kSpeckleMargin; ++x) {
      if (row[x] < kLeastSpeckle) continue;
      const int mean = (row[x - 2] + row[x + 2] + above[x] + below[x]) >> 2;
      if (row[x] > mean + kSpeckleTolerance) row[x] = static_cast<uint8_t>(mean);
    }
  }
}

}  // namespace kxcam
