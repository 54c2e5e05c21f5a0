// SPDX-License-Identifier: Apache-2.0
#include "controls.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <stdexcept>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "error.h"

namespace kxcam {
namespace {

[[noreturn]] void refuse(const Control& control, const std::string& text) {
  throw Error(ExitCode::kUsage,
              fmt::format("invalid value {} for {} ({})", text.empty() ? "''" : text, control.name,
                          range_text(control)),
              sentence_case(control.description) + ".");
}

std::string_view trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

Error not_offered_error(const OpenCamera& camera, const Control& control) {
  return {ExitCode::kUsage, fmt::format("camera {} does not offer {}", camera.index(), control.name),
          fmt::format("`kxcam controls -c {}` shows what it offers.", camera.index())};
}

}  // namespace

const Control& find_control(std::string_view name) {
  const auto found = std::ranges::find(control_table(), name, &Control::name);
  if (found != control_table().end()) return *found;
  std::vector<std::string_view> names;
  for (const Control& control : control_table()) names.emplace_back(control.name);
  throw Error(ExitCode::kUsage, fmt::format("unknown control '{}'", name),
              fmt::format("The controls are: {}.", fmt::join(names, ", ")));
}

double parse_value(const Control& control, const std::string& text) try {
  const auto words = words_of(control);
  if (const auto word = std::ranges::find(words, text); word != words.end()) {
    return static_cast<double>(word - words.begin());
  }
  size_t read = 0;
  const double value = std::stod(text, &read);
  const bool fits = value >= control.minimum && value <= control.maximum;
  if (read != text.size() || !fits || (control.whole() && value != std::trunc(value))) refuse(control, text);
  return value;
} catch (const std::logic_error&) {  // of stod: no number, or one that no double holds
  refuse(control, text);
}

Assignment parse_assignment(std::string_view text) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw Error(ExitCode::kUsage, fmt::format("'{}' is not an assignment", trim(text)), "Write NAME=VALUE.");
  }
  const Control& control = find_control(trim(text.substr(0, equals)));
  return {.control = &control, .value = parse_value(control, std::string(trim(text.substr(equals + 1))))};
}

std::vector<Assignment> parse_assignments(std::span<const std::string> texts) {
  std::vector<Assignment> assignments;
  for (const std::string& text : texts) assignments.push_back(parse_assignment(text));
  return assignments;
}

std::string value_text(const Control& control, double value) {
  const auto words = words_of(control);
  const auto i = static_cast<size_t>(value);
  if (value >= 0 && i < words.size()) return std::string(words[i]);
  return control.whole() ? fmt::format("{:.0f}", value) : fmt::format("{:.7g}", value);
}

std::vector<std::string_view> words_of(const Control& control) {
  std::vector<std::string_view> words;
  if (control.choices == nullptr) return words;
  for (const char* const* word = control.choices; *word != nullptr; ++word) words.emplace_back(*word);
  return words;
}

std::string sentence_case(std::string text) {
  if (!text.empty()) text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  return text;
}

std::string range_text(const Control& control) {
  if (control.choices != nullptr) return fmt::format("{}", fmt::join(words_of(control), "|"));
  return value_text(control, control.minimum) + ".." + value_text(control, control.maximum);
}

double read_control(const OpenCamera& camera, const Control& control) {
  const auto value = control.get(camera.index());
  if (!value) throw not_offered_error(camera, control);
  return *value;
}

void write_control(const OpenCamera& camera, const Control& control, double value) {
  const uint32_t status = control.set(camera.index(), value);
  if (status != 0 && !control.get(camera.index())) throw not_offered_error(camera, control);
  camera.require(fmt::format("setting {}", control.name), status);
}

void write_assignments(const OpenCamera& camera, std::span<const Assignment> assignments) {
  for (const auto& [control, value] : assignments) write_control(camera, *control, value);
}

}  // namespace kxcam
