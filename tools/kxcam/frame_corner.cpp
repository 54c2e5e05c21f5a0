// SPDX-License-Identifier: Apache-2.0
#include "frame_corner.h"

#include <algorithm>

namespace kxcam {
namespace {

/// Of two columns or rows that are repeated for ever behind the last of `count`.
int source_of(int position, int count) {
  return position < count ? position : count - 2 + position % 2;
}

}  // namespace

std::vector<uint8_t> grow_frame(std::span<const uint8_t> frame, const FrameSize& size,
                                const FrameSize& larger) {
  std::vector<uint8_t> grown(larger.bytes());
  const std::span<uint8_t> all(grown);
  const auto sample = static_cast<std::size_t>(size.bytes_per_sample);
  for (int y = 0; y < larger.height; ++y) {
    const auto from = frame.subspan(static_cast<std::size_t>(source_of(y, size.height)) * size.row_bytes(),
                                    size.row_bytes());
    const auto to = all.subspan(static_cast<std::size_t>(y) * larger.row_bytes(), larger.row_bytes());
    std::ranges::copy(from, to.begin());
    for (int x = size.width; x < larger.width; ++x) {
      const auto source = from.subspan(static_cast<std::size_t>(source_of(x, size.width)) * sample, sample);
      std::ranges::copy(source, to.subspan(static_cast<std::size_t>(x) * sample).begin());
    }
  }
  return grown;
}

Picture crop(const Picture& picture, int width, int height, std::vector<uint8_t>& buffer) {
  const auto channels = static_cast<std::size_t>(picture.channels);
  const std::size_t row = static_cast<std::size_t>(picture.width) * channels;
  const std::size_t cropped_row = static_cast<std::size_t>(width) * channels;
  buffer.resize(cropped_row * static_cast<std::size_t>(height));
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    std::ranges::copy(picture.samples.subspan(y * row, cropped_row),
                      std::span(buffer).subspan(y * cropped_row).begin());
  }
  Picture cropped = picture;
  cropped.width = width;
  cropped.height = height;
  cropped.samples = buffer;
  return cropped;
}

}  // namespace kxcam
