// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <png.h>

/// A picture read back by code that knows nothing of the writer.
struct SavedPicture {
  int width = 0;
  int height = 0;
  int channels = 0;
  int maximum = 0;  ///< full scale of a sample
  std::vector<int> samples;
};

/// Throws std::runtime_error for a file that is not a whole, valid picture.
inline SavedPicture read_png(const std::string& file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) {
    throw std::runtime_error(image.message);
  }
  SavedPicture picture;
  picture.width = static_cast<int>(image.width);
  picture.height = static_cast<int>(image.height);
  picture.channels = static_cast<int>(PNG_IMAGE_SAMPLE_CHANNELS(image.format));
  const bool wide = PNG_IMAGE_SAMPLE_COMPONENT_SIZE(image.format) == 2;
  picture.maximum = wide ? 0xFFFF : 0xFF;
  std::vector<uint8_t> buffer(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, buffer.data(), 0, nullptr) == 0) {
    throw std::runtime_error(image.message);
  }
  for (std::size_t i = 0; i < buffer.size(); i += wide ? 2 : 1) {
    // libpng hands out 16-bit samples in the byte order of the machine, here the low byte first.
    picture.samples.push_back(wide ? buffer[i] | buffer[i + 1] << 8 : buffer[i]);
  }
  return picture;
}

inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Number of different values among the samples: 1 for a picture of a single shade.
inline std::size_t distinct_values(const SavedPicture& picture) {
  return std::set<int>(picture.samples.begin(), picture.samples.end()).size();
}
