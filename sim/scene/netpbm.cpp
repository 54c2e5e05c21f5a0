// SPDX-License-Identifier: Apache-2.0
#include "scene/netpbm.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "scene/srgb.h"

namespace kxsim {
namespace {

/// Walks over the header's text.
class Header {
 public:
  explicit Header(std::span<const uint8_t> file) : file_(file) {}

  int64_t number(const char* name, int64_t largest) {
    skip_space_and_comments();
    if (!at_digit()) throw std::runtime_error(std::string("no ") + name + " in the header");
    int64_t value = 0;
    while (at_digit()) {
      value = value * 10 + (file_[position_++] - '0');
      if (value > largest)
        throw std::runtime_error(std::string(name) + " is over " + std::to_string(largest));
    }
    if (value == 0) throw std::runtime_error(std::string(name) + " is 0");
    return value;
  }

  /// The samples follow after exactly one white-space character.
  std::span<const uint8_t> rest() const {
    if (position_ >= file_.size() || !is_space(file_[position_]))
      throw std::runtime_error("header is not closed");
    return file_.subspan(position_ + 1);
  }

 private:
  static bool is_space(uint8_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
  bool at_digit() const {
    return position_ < file_.size() && file_[position_] >= '0' && file_[position_] <= '9';
  }

  void skip_space_and_comments() {
    bool comment = false;
    for (; position_ < file_.size(); ++position_) {
      const uint8_t c = file_[position_];
      if (comment) {
        comment = c != '\n';
      } else if (c == '#') {
        comment = true;
      } else if (!is_space(c)) {
        return;
      }
    }
  }

  std::span<const uint8_t> file_;
  size_t position_ = 2;
};

}  // namespace

bool is_netpbm(std::span<const uint8_t> file) {
  return file.size() >= 2 && file[0] == 'P' && (file[1] == '5' || file[1] == '6');
}

LinearPicture read_netpbm(std::span<const uint8_t> file) {
  if (!is_netpbm(file)) throw std::runtime_error("not a binary PGM or PPM");
  const size_t channels = file[1] == '6' ? 3 : 1;
  Header header(file);
  const int64_t width = header.number("width", kLargestPictureSide);
  const int64_t height = header.number("height", kLargestPictureSide);
  const int64_t largest_sample = header.number("largest sample", 65535);
  const std::span<const uint8_t> data = header.rest();
  const int64_t pixels = width * height;
  if (pixels > kMostPicturePixels) throw std::runtime_error("more than 40 million pixels");

  const size_t bytes = largest_sample > 255 ? 2 : 1;
  const size_t needed = static_cast<size_t>(pixels) * channels * bytes;
  if (data.size() < needed) {
    throw std::runtime_error("cut short: " + std::to_string(data.size()) + " of " + std::to_string(needed) +
                             " bytes of samples");
  }

  const std::vector<uint16_t> linear = make_linear_table(static_cast<int>(largest_sample));
  const auto sample = [&](size_t index) {
    const size_t value = bytes == 1 ? data[index] : data[2 * index] * 256U + data[2 * index + 1];
    return linear[std::min(value, linear.size() - 1)];
  };
  LinearPicture picture{static_cast<int>(width), static_cast<int>(height), {}};
  picture.samples.resize(static_cast<size_t>(pixels) * 3);
  for (size_t i = 0; i < picture.samples.size(); ++i) {
    picture.samples[i] = sample(channels == 3 ? i : i / 3);
  }
  return picture;
}

}  // namespace kxsim
