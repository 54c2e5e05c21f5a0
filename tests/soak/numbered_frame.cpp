// SPDX-License-Identifier: Apache-2.0
#include "numbered_frame.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fmt/format.h>

namespace kxcam::soak {

namespace {

constexpr uint32_t kMagic = 0x4B58534F;

struct Mark {
  uint32_t magic;
  uint32_t camera;
  uint64_t number;
  uint64_t bytes;
  uint64_t check;
};
static_assert(sizeof(Mark) == kLongestMark);

uint64_t check_sum(const Mark& mark) {
  return (mark.number * 0x9E3779B97F4A7C15U) ^ (mark.bytes << 20) ^ mark.camera;
}

Mark make_mark(uint32_t camera, uint64_t number, size_t bytes) {
  Mark mark{.magic = kMagic, .camera = camera, .number = number, .bytes = bytes, .check = 0};
  mark.check = check_sum(mark);
  return mark;
}

/// Far from black and white, and never that of the numbers before and after.
uint8_t level_of(uint64_t number) {
  return static_cast<uint8_t>(24 + number * 37 % 200);
}

bool same_pixel(const uint8_t* a, const uint8_t* b, size_t channels) {
  return std::memcmp(a, b, std::min<size_t>(channels, 3)) == 0;
}

size_t pixels_unlike(std::span<const uint8_t> picture, size_t channels, const uint8_t* pixel) {
  // Whole runs of equal bytes are compared at once.
  constexpr size_t kRun = 1024;
  std::array<uint8_t, kRun * 4> run{};
  for (size_t i = 0; i < kRun; ++i) std::copy_n(pixel, channels, run.data() + i * channels);
  const size_t pixels = picture.size() / channels;
  size_t unlike = 0;
  for (size_t first = 0; first < pixels; first += kRun) {
    const size_t count = std::min(kRun, pixels - first);
    const uint8_t* at = picture.data() + first * channels;
    if (std::memcmp(at, run.data(), count * channels) == 0) continue;
    for (size_t i = 0; i < count; ++i) unlike += same_pixel(at + i * channels, pixel, channels) ? 0 : 1;
  }
  return unlike;
}

}  // namespace

void write_numbered_frame(uint32_t camera, uint64_t number, std::span<uint8_t> out) {
  std::ranges::fill(out, level_of(number));
  if (out.size() < kSmallestFrame) return;
  const Mark mark = make_mark(camera, number, out.size());
  std::memcpy(out.data(), &mark, sizeof mark);
  std::memcpy(out.data() + out.size() - sizeof mark, &mark, sizeof mark);
}

std::variant<uint64_t, std::string> read_numbered_frame(uint32_t camera, std::span<const uint8_t> frame) {
  if (frame.size() < kSmallestFrame) return fmt::format("a frame of {} bytes", frame.size());
  Mark first{};
  Mark last{};
  std::memcpy(&first, frame.data(), sizeof first);
  std::memcpy(&last, frame.data() + frame.size() - sizeof last, sizeof last);
  if (first.magic != kMagic || first.check != check_sum(first)) return std::string("no frame begins here");
  if (first.camera != camera) return fmt::format("a frame of camera {}", first.camera);
  if (first.bytes != frame.size())
    return fmt::format("frame {} of {} bytes as one of {}", first.number, first.bytes, frame.size());
  if (std::memcmp(&first, &last, sizeof first) != 0)
    return fmt::format("frame {} ends as frame {}", first.number, last.number);
  const auto body = frame.subspan(sizeof first, frame.size() - 2 * sizeof first);
  const uint8_t level = level_of(first.number);
  // Equal to its neighbour everywhere, and right at the beginning.
  if (body.front() != level || std::memcmp(body.data(), body.data() + 1, body.size() - 1) != 0)
    return fmt::format("frame {} is not of one piece", first.number);
  return first.number;
}

bool is_plain(std::span<const uint8_t> picture, const PictureShape& shape) {
  const size_t pixels = picture.size() / shape.channels;
  const std::array<size_t, 4> samples = {pixels / 2 + pixels / 7, pixels / 3, pixels * 2 / 9,
                                         pixels * 7 / 9 + 11};
  return std::ranges::any_of(samples, [&](size_t at) {
    return pixels_unlike(picture, shape.channels, picture.data() + at * shape.channels) <= shape.marked;
  });
}

}  // namespace kxcam::soak
