// SPDX-License-Identifier: Apache-2.0
#include "file_name_pattern.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>

#include <fmt/format.h>

#include "error.h"

namespace kxcam {

FileNamePattern::FileNamePattern(const std::string& text) {
  for (std::string_view rest = text; !rest.empty();) {
    const bool percent = rest.front() == '%';
    if (percent) rest.remove_prefix(1);
    if (percent && !rest.starts_with('%')) {
      if (has_place_ || !take_place(rest)) refuse(text);
      continue;
    }
    (has_place_ ? after_ : before_) += rest.front();
    rest.remove_prefix(1);
  }
}

bool FileNamePattern::take_place(std::string_view& rest) {
  if (rest.starts_with('0')) {
    zeros_ = true;
    rest.remove_prefix(1);
  }
  if (!rest.empty() && rest.front() >= '1' && rest.front() <= '9') {
    width_ = rest.front() - '0';
    rest.remove_prefix(1);
  }
  has_place_ = rest.starts_with('d');
  if (has_place_) rest.remove_prefix(1);
  return has_place_;
}

void FileNamePattern::refuse(const std::string& text) {
  throw Error(ExitCode::kUsage, fmt::format("invalid file name pattern '{}'", text),
              "Use at most one %d or %04d for the number, and %% for a percent sign.");
}

std::string FileNamePattern::name(int number, int total) const {
  if (has_place_) {
    const std::string digits =
        zeros_ ? fmt::format("{:0{}}", number, width_) : fmt::format("{:{}}", number, width_);
    return before_ + digits + after_;
  }
  if (total <= 1) return before_;
  const std::filesystem::path path(before_);
  const std::size_t digits = std::max<std::size_t>(4, fmt::formatted_size("{}", total));
  return (path.parent_path() /
          fmt::format("{}-{:0{}}{}", path.stem().string(), number, digits, path.extension().string()))
      .string();
}

}  // namespace kxcam
