// SPDX-License-Identifier: Apache-2.0
#include "png_writer.h"

#include <stdexcept>
#include <string>

#include <png.h>

namespace kxcam {
namespace {

std::vector<uint16_t> stretched_to_16_bits(const Picture& picture) {
  std::vector<uint16_t> samples(picture.samples.size() / 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const uint16_t sample = sample12(picture, i);
    samples[i] = static_cast<uint16_t>(sample << 4 | sample >> 8);
  }
  return samples;
}

std::vector<uint8_t> encode(png_image& image, const void* samples) {
  std::vector<uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(image));
  png_alloc_size_t size = file.size();
  if (png_image_write_to_memory(&image, file.data(), &size, 0, samples, 0, nullptr) == 0) {
    throw std::runtime_error(std::string("PNG: ") + image.message);
  }
  file.resize(size);
  return file;
}

}  // namespace

std::vector<uint8_t> encode_png(const Picture& picture) {
  check(picture);
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.flags = PNG_IMAGE_FLAG_FAST;
  if (picture.bits == 8) {
    image.format = picture.channels == 3 ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
    return encode(image, picture.samples.data());
  }
  image.format = PNG_FORMAT_LINEAR_Y;
  return encode(image, stretched_to_16_bits(picture).data());
}

}  // namespace kxcam
