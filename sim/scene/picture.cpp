// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <png.h>

#include "scene/netpbm.h"
#include "scene/scene.h"
#include "scene/srgb.h"

namespace kxsim {
namespace {

/// A 16-bit PPM of the most pixels, and its header.
constexpr uintmax_t kLargestFile = kMostPicturePixels * 6 + 4096;

std::vector<uint8_t> read_file(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) throw std::runtime_error("no such file");
  const uintmax_t size = std::filesystem::file_size(file, error);
  if (error) throw std::runtime_error(error.message());
  if (size > kLargestFile) throw std::runtime_error("file is too large");
  std::vector<uint8_t> bytes(size);
  std::ifstream stream(file, std::ios::binary);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (!stream) throw std::runtime_error("cannot be read");
  return bytes;
}

bool is_png(std::span<const uint8_t> file) {
  constexpr size_t kSignatureSize = 8;
  return file.size() >= kSignatureSize && png_sig_cmp(file.data(), 0, kSignatureSize) == 0;
}

/// A PNG on its way through libpng's simplified interface.
class PngReader {
 public:
  explicit PngReader(std::span<const uint8_t> file) {
    image_.version = PNG_IMAGE_VERSION;
    check(png_image_begin_read_from_memory(&image_, file.data(), file.size()));
    if (image_.width > kLargestPictureSide || image_.height > kLargestPictureSide ||
        int64_t{image_.width} * image_.height > kMostPicturePixels) {
      png_image_free(&image_);
      throw std::runtime_error("more than 40 million pixels");
    }
  }
  ~PngReader() { png_image_free(&image_); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  LinearPicture read() {
    const bool deep = (image_.format & PNG_FORMAT_FLAG_LINEAR) != 0;
    LinearPicture picture{static_cast<int>(image_.width), static_cast<int>(image_.height), {}};
    picture.samples =
        deep ? read_as<uint16_t>(PNG_FORMAT_LINEAR_RGB) : linear(read_as<uint8_t>(PNG_FORMAT_RGB));
    return picture;
  }

 private:
  void check(int success) const {
    if (success == 0) throw std::runtime_error(image_.message);
  }

  template <typename Sample>
  std::vector<Sample> read_as(png_uint_32 format) {
    image_.format = format;
    std::vector<Sample> samples(PNG_IMAGE_SIZE(image_) / sizeof(Sample));
    const png_color behind_transparency{0, 0, 0};
    check(png_image_finish_read(&image_, &behind_transparency, samples.data(), 0, nullptr));
    return samples;
  }

  /// libpng would turn eight bits of sRGB into eight bits of light, which is too coarse in the shadows.
  static std::vector<uint16_t> linear(const std::vector<uint8_t>& samples) {
    const std::vector<uint16_t> table = make_linear_table(255);
    std::vector<uint16_t> light(samples.size());
    std::ranges::transform(samples, light.begin(), [&](uint8_t sample) { return table[sample]; });
    return light;
  }

  png_image image_{};
};

LinearPicture read_picture(const std::filesystem::path& file) {
  const std::vector<uint8_t> bytes = read_file(file);
  if (is_png(bytes)) return PngReader(bytes).read();
  if (is_netpbm(bytes)) return read_netpbm(bytes);
  throw std::runtime_error("neither a PNG nor a binary PPM or PGM");
}

/// A stretch along one axis in picture pixels.
struct Stretch {
  float begin;
  float end;

  /// How much of pixel `index` lies in it.
  float overlap(int index) const {
    return std::min(end, static_cast<float>(index + 1)) - std::max(begin, static_cast<float>(index));
  }
};

/// The stretch under a spot. It is at least a pixel wide, which makes a small picture come out linearly
/// interpolated, and it is moved inwards at the edges.
Stretch stretch_under(float centre, float size, int pixels) {
  const auto length = static_cast<float>(pixels);
  const float width = std::clamp(size * length, 1.0F, length);
  const float begin = std::clamp(centre * length - width / 2, 0.0F, length - width);
  return {begin, begin + width};
}

class Picture final : public Scene {
 public:
  explicit Picture(LinearPicture picture) : picture_(std::move(picture)) {}

  Light at(float u, float v, float size_u, float size_v) const override {
    const Stretch across = stretch_under(u, size_u, picture_.width);
    const Stretch down = stretch_under(v, size_v, picture_.height);
    const int last_x = std::min(static_cast<int>(across.end), picture_.width - 1);
    const int last_y = std::min(static_cast<int>(down.end), picture_.height - 1);
    std::array<float, 3> sum{};
    for (int y = static_cast<int>(down.begin); y <= last_y; ++y) {
      for (int x = static_cast<int>(across.begin); x <= last_x; ++x) {
        const float weight = across.overlap(x) * down.overlap(y);
        const uint16_t* const pixel = &picture_.samples[(static_cast<size_t>(y) * picture_.width + x) * 3];
        for (size_t c = 0; c < sum.size(); ++c) sum[c] += weight * static_cast<float>(pixel[c]);
      }
    }
    const float scale = 1.0F / (65535.0F * (across.end - across.begin) * (down.end - down.begin));
    return {sum[0] * scale, sum[1] * scale, sum[2] * scale};
  }

 private:
  LinearPicture picture_;
};

}  // namespace

std::shared_ptr<const Scene> load_scene(const std::filesystem::path& file) {
  try {
    return std::make_shared<Picture>(read_picture(file));
  } catch (const std::exception& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
}

}  // namespace kxsim
