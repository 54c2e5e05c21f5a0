// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "picture.h"
#include "pixel_format.h"

namespace kxcam {

enum class FileType { kPng, kPpm, kPgm, kRaw };

const std::map<std::string, FileType>& file_type_names();
std::string_view name_of(FileType type);

/// Type by the ending of a file name; none when the ending says nothing.
std::optional<FileType> file_type_of(const std::string& file_name);

/// Format of the pixels when the user asked for none; none when the type leaves it to the camera.
std::optional<PixelFormat> implied_format(FileType type);

/// Whether a file of the type can hold such pixels.
bool holds(FileType type, PixelFormat format);

/// Whether several pictures can follow one another in one stream.
bool can_be_concatenated(FileType type);

/// The whole file. Throws std::invalid_argument for a picture whose size and samples do not fit together.
std::vector<uint8_t> encode(FileType type, const Picture& picture);

}  // namespace kxcam
