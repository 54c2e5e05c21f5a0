// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <span>
#include <string>
#include <vector>

namespace kxcam {

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

}  // namespace kxcam
