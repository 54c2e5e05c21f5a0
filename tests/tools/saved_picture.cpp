// SPDX-License-Identifier: Apache-2.0
#include "saved_picture.h"

#include <charconv>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string_view>

#include <png.h>

namespace {

// The words of a header line end at white space; one single white space ends the header.
int take_number(std::string_view& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end == text.data() + text.size()) throw std::runtime_error("PNM: bad header");
  text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
  return number;
}

SavedPicture take_pnm(std::string_view& text) {
  if (!text.starts_with("P5\n") && !text.starts_with("P6\n")) throw std::runtime_error("PNM: bad magic");
  SavedPicture picture;
  picture.channels = text[1] == '6' ? 3 : 1;
  text.remove_prefix(3);
  picture.width = take_number(text);
  picture.height = take_number(text);
  picture.maximum = take_number(text);
  const auto count = static_cast<std::size_t>(picture.width * picture.height * picture.channels);
  const std::size_t bytes = picture.maximum > 255 ? 2 : 1;
  if (text.size() < count * bytes) throw std::runtime_error("PNM: cut short");
  for (std::size_t i = 0; i < count * bytes; i += bytes) {
    const int first = static_cast<uint8_t>(text[i]);
    picture.samples.push_back(bytes == 1 ? first : first << 8 | static_cast<uint8_t>(text[i + 1]));
  }
  text.remove_prefix(count * bytes);
  return picture;
}

}  // namespace

SavedPicture read_pnm(const std::string& file) {
  const auto pictures = read_all_pnm(file);
  if (pictures.size() != 1) throw std::runtime_error("PNM: not one picture");
  return pictures.front();
}

std::vector<SavedPicture> read_all_pnm(const std::string& file) {
  std::vector<SavedPicture> pictures;
  for (std::string_view rest = file; !rest.empty();) pictures.push_back(take_pnm(rest));
  return pictures;
}

SavedPicture read_png(const std::string& file) {
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

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t distinct_values(const SavedPicture& picture) {
  return std::set<int>(picture.samples.begin(), picture.samples.end()).size();
}
