// SPDX-License-Identifier: Apache-2.0
#include "image_files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include <fmt/format.h>
#include <png.h>

namespace kxcam {
namespace {

/// Throws std::invalid_argument when size and samples do not fit together.
void check(const Picture& picture) {
  const bool plausible = picture.width > 0 && picture.height > 0 &&
                         (picture.channels == 1 || (picture.channels == 3 && picture.bits == 8)) &&
                         (picture.bits == 8 || picture.bits == 12);
  const auto samples = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) *
                       static_cast<std::size_t>(picture.channels);
  if (!plausible ||
      picture.samples.size() != samples * static_cast<std::size_t>(picture.bytes_per_sample())) {
    throw std::invalid_argument("the size of the picture does not fit its samples");
  }
}

/// Sample `i` of a 12-bit picture; what the sensor cannot have meant is its full scale.
uint16_t sample12(const Picture& picture, std::size_t i) {
  const int sample = picture.samples[2 * i] | picture.samples[2 * i + 1] << 8;
  return static_cast<uint16_t>(std::min(sample, 0xFFF));
}

std::vector<uint16_t> stretched_to_16_bits(const Picture& picture) {
  std::vector<uint16_t> samples(picture.samples.size() / 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const uint16_t sample = sample12(picture, i);
    samples[i] = static_cast<uint16_t>(sample << 4 | sample >> 8);
  }
  return samples;
}

std::vector<uint8_t> write_png(png_image& image, const void* samples) {
  std::vector<uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(image));
  png_alloc_size_t size = file.size();
  if (png_image_write_to_memory(&image, file.data(), &size, 0, samples, 0, nullptr) == 0) {
    throw std::runtime_error(std::string("PNG: ") + image.message);
  }
  file.resize(size);
  return file;
}

/// 8-bit RGB or grey; 12-bit samples s become 16-bit grey s << 4 | s >> 8, which is full scale for full scale
/// and keeps all bits.
std::vector<uint8_t> encode_png(const Picture& picture) {
  check(picture);
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.flags = PNG_IMAGE_FLAG_FAST;
  if (picture.bits == 8) {
    image.format = picture.channels == 3 ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
    return write_png(image, picture.samples.data());
  }
  image.format = PNG_FORMAT_LINEAR_Y;
  return write_png(image, stretched_to_16_bits(picture).data());
}

void append_big_endian(std::vector<uint8_t>& file, const Picture& picture) {
  for (std::size_t i = 0; i < picture.samples.size() / 2; ++i) {
    const uint16_t sample = sample12(picture, i);
    file.push_back(static_cast<uint8_t>(sample >> 8));
    file.push_back(static_cast<uint8_t>(sample));
  }
}

/// PPM for three channels, PGM for one; 12-bit samples are written as they are, big-endian, with 4095 as full
/// scale.
std::vector<uint8_t> encode_pnm(const Picture& picture) {
  check(picture);
  std::vector<uint8_t> file;
  file.reserve(32 + picture.samples.size());
  fmt::format_to(std::back_inserter(file), "P{}\n{} {}\n{}\n", picture.channels == 3 ? 6 : 5, picture.width,
                 picture.height, (1 << picture.bits) - 1);
  if (picture.bits == 8) {
    file.insert(file.end(), picture.samples.begin(), picture.samples.end());
  } else {
    append_big_endian(file, picture);
  }
  return file;
}

}  // namespace

const std::map<std::string, FileType>& file_type_names() {
  static const std::map<std::string, FileType> names = {
      {"png", FileType::kPng}, {"ppm", FileType::kPpm}, {"pgm", FileType::kPgm}, {"raw", FileType::kRaw}};
  return names;
}

std::string_view name_of(FileType type) {
  const auto& names = file_type_names();
  const auto found = std::ranges::find(names, type, [](const auto& entry) { return entry.second; });
  return found->first;
}

std::optional<FileType> file_type_of(const std::string& file_name) {
  std::string ending = std::filesystem::path(file_name).extension().string();
  if (ending.empty()) return std::nullopt;
  ending.erase(0, 1);
  std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
  const auto found = file_type_names().find(ending);
  if (found == file_type_names().end()) return std::nullopt;
  return found->second;
}

std::optional<PixelFormat> implied_format(FileType type) {
  switch (type) {
    case FileType::kPng:
      return std::nullopt;
    case FileType::kPpm:
      return PixelFormat::kColour;
    case FileType::kPgm:
      return PixelFormat::kGrey;
    case FileType::kRaw:
      return PixelFormat::kRaw;
  }
  return std::nullopt;
}

bool holds(FileType type, PixelFormat format) {
  if (type == FileType::kPpm) return format == PixelFormat::kColour;
  if (type == FileType::kPgm) return format != PixelFormat::kColour;
  return true;
}

bool can_be_concatenated(FileType type) {
  return type != FileType::kPng;
}

std::vector<uint8_t> encode(FileType type, const Picture& picture) {
  switch (type) {
    case FileType::kPng:
      return encode_png(picture);
    case FileType::kPpm:
    case FileType::kPgm:
      return encode_pnm(picture);
    case FileType::kRaw:
      break;
  }
  return {picture.samples.begin(), picture.samples.end()};
}

}  // namespace kxcam
