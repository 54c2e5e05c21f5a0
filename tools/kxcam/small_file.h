// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kxcam {

inline constexpr std::size_t kSmallFile = 65536;

/// The first kSmallFile bytes of a file. Sets `error` to errno, or to 0; "" after an error.
std::string read_small_file(const std::filesystem::path& file, int& error);

/// The first line of a file without its end; "" when there is none. The kernel shows values as such lines.
std::string read_line(const std::filesystem::path& file);

/// A text that a device or a file holds, fit for a terminal: every byte that is not printable ASCII, among
/// them those of escape sequences, becomes a '?'.
std::string printable(std::string text);

}  // namespace kxcam
