// SPDX-License-Identifier: Apache-2.0
#include "verify/frames.h"

#include <cstring>
#include <numeric>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

namespace kxcam::verify {
namespace {

int take(int camera, int format, int timeout_ms, unsigned flags, Frame& frame) {
  int size = 0;
  if (CameraGetImageBufferSize(camera, &size, format) != 0) return kxcam_thread_error();
  frame.bytes.resize(static_cast<size_t>(size));
  return kxcam_query(camera, frame.bytes.data(), frame.bytes.size(), format, timeout_ms, flags, &frame.info,
                     sizeof frame.info);
}

}  // namespace

int take_fresh(int camera, int format, int timeout_ms, Frame& frame) {
  if (CameraClearHostBuffer(camera) != 0) return kxcam_thread_error();
  // The frame under way when the ring was cleared may have begun before the change.
  if (const int code = take(camera, format, timeout_ms, 0, frame); code != 0) return code;
  return take(camera, format, timeout_ms, KXCAM_QUERY_NEWEST, frame);
}

int take_next(int camera, int format, int timeout_ms, Frame& frame) {
  return take(camera, format, timeout_ms, 0, frame);
}

double mean_level(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return 0;
  return static_cast<double>(std::accumulate(bytes.begin(), bytes.end(), uint64_t{0})) /
         static_cast<double>(bytes.size());
}

std::optional<std::string> numbered_frame_fault(std::span<const uint8_t> frame) {
  uint32_t number = 0;
  if (frame.size() < sizeof number) return std::nullopt;
  std::memcpy(&number, frame.data(), sizeof number);
  const uint32_t offset = number * 0x9E3779B1U;
  for (size_t i = 1; i < frame.size() / sizeof number; ++i) {
    uint32_t word = 0;
    std::memcpy(&word, frame.data() + i * sizeof word, sizeof word);
    if (word != (static_cast<uint32_t>(i) + offset) * 0x85EBCA6BU)
      return fmt::format("frame {} is damaged at byte {} of {}", number, i * sizeof word, frame.size());
  }
  return std::nullopt;
}

}  // namespace kxcam::verify
