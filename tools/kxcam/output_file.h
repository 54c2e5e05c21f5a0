// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace kxcam {

/// Writes all bytes to an open file; throws Error naming `name`.
void write_all(int file, std::span<const uint8_t> bytes, const std::string& name);

/// Throws Error that names the folder when a file cannot be written because its folder is not there.
void require_folder(const std::filesystem::path& path);

/// Writes a file so that it is either complete or not there: under a temporary name beside it, then
/// renamed. A symbolic link stays, and the file it leads to is written. What is not a regular file (a pipe, a
/// device) is written to as it is. Throws Error.
void write_file(const std::filesystem::path& path, std::span<const uint8_t> bytes);

}  // namespace kxcam
