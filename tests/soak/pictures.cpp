// SPDX-License-Identifier: Apache-2.0
#include "pictures.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <thread>
#include <variant>

#include <fmt/format.h>

#include "kxcam/kxcam.h"
#include "numbered_frame.h"

namespace kxcam::soak {

namespace {

enum class Function { kQueryImage, kQueryImage2, kQueryImageLV };

/// Frames of the program's own are not made larger than this.
constexpr int kMostOwnPixels = 640 * 480;

}  // namespace

struct PictureTaker::Query {
  Function function;
  int format;
  size_t channels;  ///< bytes per pixel of a picture; 0: a raw frame, or nothing is written
};

namespace {

constexpr int kColor = KXCAM_FORMAT_COLOR;
constexpr int kUncorrected = KXCAM_FORMAT_UNCORRECTED;

}  // namespace

PictureTaker::PictureTaker(Stage& stage, int index, uint64_t seed)
    : stage_(stage),
      index_(index),
      random_(seed),
      image_(kMostOwnPixels),
      raw_(2 * kMostOwnPixels),
      last_number_(stage.cameras.size()) {}

void PictureTaker::run() {
  while (!stage_.ending) {
    {
      const Gate::Pass pass(stage_.gate);
      act();
    }
    // Now and then longer than the ring lasts.
    const int pause_ms = random_.chance(2) ? random_.between(50, 400) : random_.between(0, 3);
    std::this_thread::sleep_for(std::chrono::milliseconds(pause_ms));
  }
}

void PictureTaker::act() {
  const int choice = random_.between(1, 100);
  if (choice <= 2) return take_wrong_size();
  if (choice <= 4) return develop_own_frame();
  static constexpr std::array kQueries = {
      Query{Function::kQueryImage, KXCAM_FORMAT_RAW, 0},
      Query{Function::kQueryImage2, KXCAM_FORMAT_RAW, 0},
      Query{Function::kQueryImage, KXCAM_FORMAT_GREY, 1},
      Query{Function::kQueryImage2, KXCAM_FORMAT_GREY | kUncorrected, 1},
      Query{Function::kQueryImage, kColor, 3},
      Query{Function::kQueryImage2, kColor | KXCAM_FORMAT_BGR, 3},
      Query{Function::kQueryImage, kColor | kUncorrected, 3},
      Query{Function::kQueryImage, kColor | KXCAM_FORMAT_32BIT, 4},
      Query{Function::kQueryImage2, kColor | KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT, 4},
      Query{Function::kQueryImageLV, kColor, 4},
      Query{Function::kQueryImageLV, kColor | KXCAM_FORMAT_BGR, 4},
      Query{Function::kQueryImage, 0, 0},
  };
  // Raw frames are those that are looked at most closely.
  take_one(random_.chance(30) ? kQueries.front() : random_.pick(kQueries));
}

bool PictureTaker::take_raw() {
  return take_one({Function::kQueryImage, KXCAM_FORMAT_RAW, 0});
}

bool PictureTaker::take(const Query& query, int* size) {
  auto* const bytes = reinterpret_cast<uint8_t*>(image_.data());
  CallWatch& watch = stage_.watch;
  int place = -1;
  switch (query.function) {
    case Function::kQueryImage:
      return watch("CameraQueryImage", Patience::kFrame,
                   [&] { return CameraQueryImage(index_, bytes, size, query.format); });
    case Function::kQueryImage2:
      return watch("CameraQueryImage2", Patience::kFrame,
                   [&] { return CameraQueryImage2(index_, bytes, size, &place, query.format); });
    case Function::kQueryImageLV:
      return watch("CameraQueryImageLV", Patience::kFrame,
                   [&] { return CameraQueryImageLV(index_, image_.data(), size, query.format); });
  }
  return false;
}

bool PictureTaker::take_one(const Query& query) {
  const bool in_pixels = query.function == Function::kQueryImageLV;
  int size = 0;
  const int size_format = in_pixels ? query.format | KXCAM_FORMAT_32BIT : query.format;
  if (CameraGetImageBufferSize(index_, &size, size_format) != 0) return false;
  const int bytes = size;
  image_.resize(std::max(image_.size(), static_cast<size_t>(bytes) / sizeof(uint32_t) + 1));
  if (in_pixels) size /= 4;
  if (!take(query, &size)) return false;
  camera().count_delivery();
  const std::span image(reinterpret_cast<const uint8_t*>(image_.data()), static_cast<size_t>(bytes));
  if (query.channels > 0) check_picture(image, query);
  if (query.format == KXCAM_FORMAT_RAW) check_raw(image);
  return true;
}

void PictureTaker::take_wrong_size() {
  int size = -1;
  if (take({Function::kQueryImage, KXCAM_FORMAT_RAW, 0}, &size))
    stage_.violations.add("a query of a size below 0 succeeded");
}

void PictureTaker::check_raw(std::span<const uint8_t> frame) {
  const uint32_t number_of_camera = camera().number();
  const auto result = read_numbered_frame(number_of_camera, frame);
  if (const auto* fault = std::get_if<std::string>(&result))
    return stage_.violations.add(fmt::format("camera {} delivered {}", number_of_camera, *fault));
  const uint64_t number = std::get<uint64_t>(result);
  uint64_t& last = last_number_[number_of_camera];
  if (number <= last)
    stage_.violations.add(fmt::format("camera {}: frame {} came after {}", number_of_camera, number, last));
  if (!camera().deliver_once(number))
    stage_.violations.add(fmt::format("camera {}: frame {} came twice", number_of_camera, number));
  last = number;
}

void PictureTaker::check_picture(std::span<const uint8_t> picture, const Query& query) {
  // Marks colour their neighbours, and the pixels at the border have fewer of them.
  constexpr size_t kMarkedPixels = size_t{8} * kLongestMark;
  constexpr size_t kBorderPixels = 4;
  const size_t pixels = picture.size() / query.channels;
  // No shape of that many pixels that is in use has a longer border.
  const size_t border = kBorderPixels * (pixels / 128 + 128);
  const PictureShape shape{.channels = query.channels,
                           .marked = kMarkedPixels + std::min(border, pixels / 4)};
  if (!is_plain(picture, shape))
    stage_.violations.add(fmt::format("camera {}: a picture of format {:#x} and {} bytes is not of one frame",
                                      camera().number(), query.format, picture.size()));
}

void PictureTaker::develop_own_frame() {
  int width = 0;
  int height = 0;
  if (CameraGetImageSize(index_, &width, &height) != 0 || width * height > kMostOwnPixels) return;
  stage_.watch("CameraISP", Patience::kFrame, [&] {
    return CameraISP(index_, raw_.data(), reinterpret_cast<uint8_t*>(image_.data()), width, height, kColor);
  });
}

}  // namespace kxcam::soak
