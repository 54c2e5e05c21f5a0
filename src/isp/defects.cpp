// SPDX-License-Identifier: Apache-2.0
#include "isp/defects.h"

namespace kxcam {

namespace {

struct FramePosition {
  int64_t x;
  int64_t y;
};

bool is_replaceable(Readout readout, const FramePosition& at, int32_t width, int32_t height) {
  switch (readout) {
    case Readout::kFullSensor:
      // The column after the last counts: it names the first pixel of the next row.
      return at.x >= 2 && at.x <= width && at.y >= 0 && at.y <= height;
    case Readout::kWindow:
      return at.x > 2 && at.x < width && at.y > 0 && at.y < height;
    case Readout::kBinned:
      return at.x >= 3 && at.x < width && at.y >= 1 && at.y < height;
  }
  return false;
}

FramePosition frame_position(const FramePlacement& placement, const DeadPixel& pixel) {
  const int64_t x = int64_t{pixel.x} - placement.x0;
  const int64_t y = int64_t{pixel.y} - placement.y0;
  if (placement.readout != Readout::kBinned) return {x, y};
  // The parity is the sensor's, so that the colour stays.
  return {(x >> 1) + (pixel.x & 1), (y >> 1) + (pixel.y & 1)};
}

}  // namespace

void replace_dead_pixels(const MutableImageView& frame, const FramePlacement& placement,
                         std::span<const DeadPixel> list) {
  const std::span<uint8_t> samples = frame.samples();
  for (const DeadPixel& pixel : list) {
    const FramePosition at = frame_position(placement, pixel);
    if (!is_replaceable(placement.readout, at, frame.width(), frame.height())) continue;
    const auto i = static_cast<size_t>(at.y * frame.width() + at.x);
    if (i < samples.size()) samples[i] = samples[i - 2];
  }
}

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
