// SPDX-License-Identifier: Apache-2.0
#include "isp/despeckle.h"

#include <cstdint>

namespace kxcam {
namespace {

constexpr int32_t kMargin = 6;  // the last row and column that are looked at are size - kMargin
constexpr int kLeastSpeckle = 101;
constexpr int kTolerance = 50;

}  // namespace

void despeckle(const MutableImageView& frame) {
  for (int32_t y = kMargin; y <= frame.height() - kMargin; ++y) {
    const auto above = frame.row(y - 2);
    const auto row = frame.row(y);
    const auto below = frame.row(y + 2);
    for (int32_t x = kMargin; x <= frame.width() - kMargin; ++x) {
      if (row[x] < kLeastSpeckle) continue;
      const int mean = (row[x - 2] + row[x + 2] + above[x] + below[x]) >> 2;
      if (row[x] > mean + kTolerance) row[x] = static_cast<uint8_t>(mean);
    }
  }
}

}  // namespace kxcam
