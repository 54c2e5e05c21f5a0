// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <vector>

#include "frame_fixture.h"
#include "isp/image_view.h"

namespace kxcam::test {

/// A raw frame between guard bytes.
class GuardedFrame {
 public:
  GuardedFrame(int width, int height, const std::vector<uint8_t>& samples)
      : width_(width), height_(height), bytes_(samples.size()) {
    std::ranges::copy(samples, bytes_.data());
  }
  GuardedFrame(int width, int height, uint8_t level)
      : GuardedFrame(width, height, std::vector<uint8_t>(static_cast<size_t>(width * height), level)) {}

  MutableImageView view() {
    return {{bytes_.data(), static_cast<size_t>(width_ * height_)}, width_, height_};
  }
  uint8_t& at(int x, int y) { return view().row(y)[static_cast<size_t>(x)]; }
  std::vector<uint8_t> samples() const { return bytes_.picture(); }
  bool guards_intact() const { return bytes_.guards_intact(); }

 private:
  int width_;
  int height_;
  GuardedOutput bytes_;
};

}  // namespace kxcam::test
