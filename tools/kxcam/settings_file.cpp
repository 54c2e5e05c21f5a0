// SPDX-License-Identifier: Apache-2.0
#include "settings_file.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <map>
#include <system_error>

#include <fmt/format.h>

#include "error.h"

namespace kxcam {
namespace {

/// Far more than all settings take; a device file may have no end.
constexpr std::size_t kMostBytes = 65536;

std::string setting_line(const OpenCamera& camera, const Control& control) {
  const auto value = control.get(camera.index());
  if (!value) return fmt::format("# {:<18} not offered by this camera\n", control.name);
  return fmt::format("{:<18} = {:<10}  # {}{}{}\n", control.name, value_text(control, *value), control.unit,
                     *control.unit == '\0' ? "" : ", ", range_text(control));
}

bool is_blank(std::string_view text) {
  return text.find_first_not_of(" \t\r") == std::string_view::npos;
}

/// The lines of a settings file with what was found in the earlier ones.
class Parser {
 public:
  explicit Parser(const std::string& source) : source_(source) {}

  void take_line(std::string_view line) try {
    ++number_;
    line = line.substr(0, line.find('#'));
    if (!is_blank(line)) add(parse_assignment(line));
  } catch (const Error& error) {
    throw Error(error.exit_code(), fmt::format("{}:{}: {}", source_, number_, error.what()), error.cure());
  }

  std::vector<Assignment> in_order() const {
    std::vector<Assignment> settings;
    for (const auto& [control, found] : found_) settings.push_back({control, found.value});
    return settings;
  }

 private:
  struct Found {
    double value;
    int line;
  };

  void add(const Assignment& assignment) {
    if (assignment.control->is_view()) {
      throw Error(ExitCode::kUsage, fmt::format("{} is not stored", assignment.control->name),
                  "It is another view of a control that is: `kxcam params save -` lists those.");
    }
    const auto [earlier, is_new] = found_.try_emplace(assignment.control, Found{assignment.value, number_});
    if (!is_new) {
      throw Error(ExitCode::kUsage, fmt::format("{} is set twice", assignment.control->name),
                  fmt::format("The first time is in line {}.", earlier->second.line));
    }
  }

  const std::string& source_;
  int number_ = 0;
  std::map<const Control*, Found> found_;  // by place in the one table of controls
};

std::string read_text(const std::string& name) {
  const std::string path = name == "-" ? "/dev/stdin" : name;
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text(kMostBytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.is_open() || file.bad()) {
    throw Error(ExitCode::kFailure,
                fmt::format("cannot read {}: {}", path, std::generic_category().message(errno)));
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > kMostBytes) {
    throw Error(ExitCode::kUsage, fmt::format("{} is too long for a settings file", path));
  }
  return text;
}

}  // namespace

std::string settings_text(const OpenCamera& camera) {
  const AttachedCamera& identity = camera.identity();
  std::string text = fmt::format(
      "# Settings of {}, product {:04x}, serial {}.\n"
      "# `kxcam params load` puts them into this camera or another one.\n\n",
      identity.name, identity.product_id, identity.serial);
  for (const Control& control : control_table()) {
    if (!control.is_view()) text += setting_line(camera, control);
  }
  return text;
}

std::vector<Assignment> parse_settings(std::string_view text, const std::string& source) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  Parser parser(source);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    parser.take_line(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  auto settings = parser.in_order();
  if (settings.empty()) {
    throw Error(ExitCode::kUsage, fmt::format("{} holds no settings", source),
                "`kxcam params save FILE` writes such a file.");
  }
  return settings;
}

std::vector<Assignment> read_settings_file(const std::string& name) {
  return parse_settings(read_text(name), name);
}

}  // namespace kxcam
