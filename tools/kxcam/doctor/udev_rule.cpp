// SPDX-License-Identifier: Apache-2.0
#include "doctor/udev_rule.h"

#include <array>
#include <optional>
#include <system_error>

#include "small_file.h"

namespace kxcam::doctor {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPackageFile = "70-kxcam.rules";
// The first comes before the others.
constexpr std::array kFolders = {"etc/udev/rules.d", "run/udev/rules.d", "usr/local/lib/udev/rules.d",
                                 "usr/lib/udev/rules.d", "lib/udev/rules.d"};

bool names_cameras(const fs::path& file) {
  int error = 0;
  return read_small_file(file, error).find("a7b7") != std::string::npos;
}

std::optional<fs::path> file_of_the_package(const fs::path& root) {
  for (const char* folder : kFolders) {
    const fs::path file = root / folder / kPackageFile;
    std::error_code error;
    if (fs::is_symlink(file, error) || fs::exists(file, error)) return file;
  }
  return std::nullopt;
}

std::optional<fs::path> file_that_names_cameras(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const fs::path& file = entry->path();
    const bool counts = file.extension() == ".rules" && file.filename() != kPackageFile;
    if (counts && names_cameras(file)) return file;
  }
  return std::nullopt;
}

Rule rule_in(const fs::path& file, const fs::path& root) {
  return {"/" + file.lexically_relative(root).string(), names_cameras(file)};
}

}  // namespace

Rule find_rule(const fs::path& root) {
  const auto package = file_of_the_package(root);
  if (package && names_cameras(*package)) return rule_in(*package, root);
  for (const char* folder : kFolders) {
    if (const auto file = file_that_names_cameras(root / folder)) return rule_in(*file, root);
  }
  return package ? rule_in(*package, root) : Rule{};
}

}  // namespace kxcam::doctor
