// SPDX-License-Identifier: Apache-2.0
#include "assignment.h"

#include <fmt/format.h>

#include "error.h"

namespace kxcam {
namespace {

std::string_view trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

Assignment parse_assignment(std::string_view text) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw Error(ExitCode::kUsage, fmt::format("{} is no assignment", trim(text)), "Write NAME=VALUE.");
  }
  const Control& control = find_control(trim(text.substr(0, equals)));
  return {.control = &control, .value = parse_value(control, std::string(trim(text.substr(equals + 1))))};
}

void write_assignments(const OpenCamera& camera, std::span<const Assignment> assignments) {
  for (const auto& [control, value] : assignments) write_control(camera, *control, value);
}

void add_set_option(CLI::App& command, std::vector<Assignment>& assignments, const std::string& group) {
  auto* option = command.add_option_function<std::vector<std::string>>(
      "--set",
      [&assignments](const std::vector<std::string>& texts) {
        try {
          for (const auto& text : texts) assignments.push_back(parse_assignment(text));
        } catch (const Error& error) {
          throw CLI::ValidationError("--set", fmt::format("{}\n{}", error.what(), error.cure()));
        }
      },
      "Any control, see `kxcam controls`; may be given again");
  option->type_name("NAME=VALUE")->allow_extra_args(false);
  if (!group.empty()) option->group(group);
}

}  // namespace kxcam
