// SPDX-License-Identifier: Apache-2.0
#include "image_writer.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "png_writer.h"
#include "pnm_writer.h"

namespace kxcam {

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
