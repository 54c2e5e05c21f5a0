// SPDX-License-Identifier: Apache-2.0
#include "settings_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace kxcam {
namespace {

std::string_view trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<double> value_of(const kxcam_control& control, std::string_view text) {
  for (int i = 0; control.choices != nullptr && control.choices[i] != nullptr; ++i) {
    if (text == control.choices[i]) return i;
  }
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = (control.flags & KXCAM_CONTROL_WHOLE) != 0 || control.choices != nullptr;
  const bool fits = error == std::errc() && end == text.data() + text.size() && value >= control.minimum &&
                    value <= control.maximum && (!whole || value == std::trunc(value));
  return fits ? std::optional(value) : std::nullopt;
}

/// `line` is neither blank nor all comment.
void take_line(ControlValues& values, std::string_view line) {
  const auto equals = line.find('=');
  if (equals == std::string_view::npos) throw std::runtime_error("expected NAME = VALUE");
  const std::string name(trim(line.substr(0, equals)));
  const std::string text(trim(line.substr(equals + 1)));
  const auto control = find_control(name);
  if (!control) throw std::runtime_error("unknown control '" + name + "'");
  if ((controls()[*control].flags & KXCAM_CONTROL_VIEW) != 0)
    throw std::runtime_error(name + " is not stored");
  if (values[*control]) throw std::runtime_error(name + " is set twice");
  values[*control] = value_of(controls()[*control], text);
  if (!values[*control]) throw std::runtime_error("invalid value '" + text + "' for " + name);
}

}  // namespace

ControlValues read_settings_file(const std::string& name) {
  errno = 0;
  std::ifstream file(name);
  if (!file) throw std::runtime_error("cannot read " + name + ": " + std::generic_category().message(errno));
  ControlValues values(controls().size());
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    const std::string_view text = trim(std::string_view(line).substr(0, line.find('#')));
    if (text.empty()) continue;
    try {
      take_line(values, text);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  if (std::ranges::none_of(values, [](const auto& value) { return value.has_value(); }))
    throw std::runtime_error(name + " holds no settings");
  return values;
}

}  // namespace kxcam
