// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

/// A picture read back by code that knows nothing of the writer.
struct SavedPicture {
  int width = 0;
  int height = 0;
  int channels = 0;
  int maximum = 0;  ///< full scale of a sample
  std::vector<int> samples;
};

/// Throws std::runtime_error for a file that is not a whole, valid picture.
SavedPicture read_png(const std::string& file);

std::string read_file(const std::filesystem::path& path);

/// Number of different values among the samples: 1 for a picture of a single shade.
std::size_t distinct_values(const SavedPicture& picture);
