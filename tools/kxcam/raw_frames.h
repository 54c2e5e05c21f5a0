// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "picture.h"

namespace kxcam {

struct FrameSize {
  int width = 0;
  int height = 0;
  int bytes_per_sample = 1;

  std::size_t row_bytes() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(bytes_per_sample);
  }
  std::size_t bytes() const { return row_bytes() * static_cast<std::size_t>(height); }
  bool operator==(const FrameSize&) const = default;
};

/// The raw frames in files, one after the other. A file holds one frame or several without anything between.
class RawFrames {
 public:
  /// Throws Error when a file cannot be read or holds anything but whole frames of that size.
  RawFrames(const std::vector<std::string>& files, std::size_t frame_bytes);

  int total() const { return total_; }

  /// Fills `frame`, of the size given; throws Error when the file ends early or there is no frame left.
  void read_next(std::span<uint8_t> frame);

 private:
  std::vector<std::string> files_;
  std::size_t next_file_ = 0;
  std::ifstream file_;
  int total_ = 0;
};

/// A raw frame as the top left corner of a larger one of the same kind of samples. Its last two columns and
/// rows go on to the right and below, so that colour filters stay in step. Both sizes are even.
std::vector<uint8_t> grow_frame(std::span<const uint8_t> frame, const FrameSize& size,
                                const FrameSize& larger);

/// The top left corner of a picture of one byte per sample, no larger than it; its samples lie in `buffer`.
Picture crop(const Picture& picture, int width, int height, std::vector<uint8_t>& buffer);

}  // namespace kxcam
