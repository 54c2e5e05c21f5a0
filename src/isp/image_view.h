// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kxcam {

/// A frame of 8-bit raw samples, row-major without padding, that somebody else owns.
///
/// invariant: width and height are at least 1 and width x height bytes can be read.
class ImageView {
 public:
  ImageView(std::span<const uint8_t> samples, int32_t width, int32_t height)
      : samples_(samples.first(static_cast<size_t>(width) * static_cast<size_t>(height))),
        width_(width),
        height_(height) {
    assert(width >= 1 && height >= 1);
  }

  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  std::span<const uint8_t> samples() const { return samples_; }

  std::span<const uint8_t> row(int32_t y) const {
    assert(y >= 0 && y < height_);
    return samples_.subspan(static_cast<size_t>(y) * static_cast<size_t>(width_), width_);
  }

  int at(int32_t x, int32_t y) const {
    assert(x >= 0 && x < width_);
    return row(y)[x];
  }

 private:
  std::span<const uint8_t> samples_;
  int32_t width_;
  int32_t height_;
};

}  // namespace kxcam
