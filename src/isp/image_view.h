// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kxcam {

/// A frame of 8-bit raw samples, row-major without padding, that somebody else owns.
///
/// invariant: width and height are at least 1 and width x height bytes can be accessed.
template <class Sample>
class BasicImageView {
 public:
  BasicImageView(std::span<Sample> samples, int32_t width, int32_t height)
      : samples_(samples.first(static_cast<size_t>(width) * static_cast<size_t>(height))),
        width_(width),
        height_(height) {
    assert(width >= 1 && height >= 1);
  }

  /// A view of the same frame that cannot change it.
  operator BasicImageView<const Sample>() const {  // NOLINT(google-explicit-constructor): loses nothing
    return {samples_, width_, height_};
  }

  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  std::span<Sample> samples() const { return samples_; }

  std::span<Sample> row(int32_t y) const {
    assert(y >= 0 && y < height_);
    return samples_.subspan(static_cast<size_t>(y) * static_cast<size_t>(width_), width_);
  }

  int at(int32_t x, int32_t y) const {
    assert(x >= 0 && x < width_);
    return row(y)[x];
  }

 private:
  std::span<Sample> samples_;
  int32_t width_;
  int32_t height_;
};

using ImageView = BasicImageView<const uint8_t>;
using MutableImageView = BasicImageView<uint8_t>;

}  // namespace kxcam
