// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kxcam::view {

/// A file of the page, part of the program.
struct PageFile {
  std::string_view path;
  std::string_view type;
  std::string_view content;
};

/// Null where there is none of that path.
const PageFile* find_page_file(std::string_view path);

}  // namespace kxcam::view
