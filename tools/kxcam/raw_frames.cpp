// SPDX-License-Identifier: Apache-2.0
#include "raw_frames.h"

#include <filesystem>
#include <limits>
#include <system_error>

#include <fmt/format.h>

#include "error.h"

namespace kxcam {
namespace {

uintmax_t size_of(const std::string& file) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  if (error) throw Error(ExitCode::kFailure, fmt::format("cannot read {}: {}", file, error.message()));
  return size;
}

}  // namespace

RawFrames::RawFrames(const std::vector<std::string>& files, std::size_t frame_bytes) : files_(files) {
  uintmax_t total = 0;
  for (const auto& file : files) {
    const uintmax_t size = size_of(file);
    if (size == 0 || size % frame_bytes != 0) {
      throw Error(ExitCode::kUsage,
                  fmt::format("{} holds {} bytes, and a frame has {}", file, size, frame_bytes),
                  "Check --model, and give --width and --height of frames of a part of the sensor.");
    }
    total += size / frame_bytes;
  }
  if (total > static_cast<uintmax_t>(std::numeric_limits<int>::max())) {
    throw Error(ExitCode::kUsage, "too many frames for one run");
  }
  total_ = static_cast<int>(total);
}

void RawFrames::read_next(std::span<uint8_t> frame) {
  if (!file_.is_open() || file_.peek() == std::ifstream::traits_type::eof()) {
    if (next_file_ == files_.size()) throw Error(ExitCode::kFailure, "a file of frames has become shorter");
    file_ = std::ifstream(files_[next_file_++], std::ios::binary);
  }
  file_.read(reinterpret_cast<char*>(frame.data()), static_cast<std::streamsize>(frame.size()));
  if (!file_) throw Error(ExitCode::kFailure, fmt::format("cannot read {}", files_[next_file_ - 1]));
}

}  // namespace kxcam
