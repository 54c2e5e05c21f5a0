// SPDX-License-Identifier: Apache-2.0
#include "raw_frames.h"

#include <algorithm>
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

/// Of two columns or rows that are repeated for ever behind the last of `count`.
int source_of(int position, int count) {
  return position < count ? position : count - 2 + position % 2;
}

}  // namespace

RawFrames::RawFrames(const std::vector<std::string>& files, std::size_t frame_bytes) : files_(files) {
  uintmax_t total = 0;
  for (const auto& file : files) {
    const uintmax_t size = size_of(file);
    if (size == 0 || size % frame_bytes != 0) {
      throw Error(
          ExitCode::kUsage,
          fmt::format("{} holds {} bytes, not a whole number of frames of {} bytes", file, size, frame_bytes),
          "Check --model, and use --width and --height for frames of part of the sensor.");
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
    if (next_file_ == files_.size())
      throw Error(ExitCode::kFailure, "a file of frames became shorter while it was read");
    file_ = std::ifstream(files_[next_file_++], std::ios::binary);
  }
  file_.read(reinterpret_cast<char*>(frame.data()), static_cast<std::streamsize>(frame.size()));
  if (!file_) throw Error(ExitCode::kFailure, fmt::format("cannot read {}", files_[next_file_ - 1]));
}

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
