// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "assignment.h"
#include "camera.h"
#include "command.h"
#include "control.h"

namespace kxcam {
namespace {

struct Options {
  int camera = 0;
  bool json = false;
  std::vector<std::string> arguments;
};

std::string assignment_text(const Camera& camera, const Control& control) {
  return fmt::format("{}={}\n", control.name, value_text(control, read_control(camera, control)));
}

void get(const Options& options, StandardOutput& output) {
  std::vector<const Control*> controls;
  for (const std::string& name : options.arguments) controls.push_back(&find_control(name));
  const Camera camera(options.camera);
  for (const Control* control : controls) output.print(assignment_text(camera, *control));
}

/// Nothing is set when one of the assignments is wrong.
void set(const Options& options, StandardOutput& output) {
  std::vector<Assignment> assignments;
  for (const std::string& text : options.arguments) assignments.push_back(parse_assignment(text));
  const Camera camera(options.camera);
  write_assignments(camera, assignments);
  for (const Assignment& assignment : assignments) output.print(assignment_text(camera, *assignment.control));
}

nlohmann::ordered_json json_value(const Control& control, std::optional<double> value) {
  if (!value) return nullptr;
  if (!control.choices.empty()) return value_text(control, *value);
  if (control.whole) return static_cast<int64_t>(*value);
  return *value;
}

nlohmann::ordered_json as_json(const Camera& camera, const Control& control) {
  nlohmann::ordered_json json = {{"name", control.name},
                                 {"value", json_value(control, control.get(camera.index()))}};
  if (!control.unit.empty()) json["unit"] = control.unit;
  if (!control.choices.empty()) {
    json["choices"] = control.choices;
  } else {
    json["minimum"] = json_value(control, control.minimum);
    json["maximum"] = json_value(control, control.maximum);
  }
  return json;
}

std::string as_text(const Camera& camera, const Control& control) {
  const auto value = control.get(camera.index());
  return fmt::format("{:<18}{:>12} {:<8}{}\n", control.name, value ? value_text(control, *value) : "-",
                     control.unit, range_text(control));
}

void list(const Options& options, StandardOutput& output) {
  const Camera camera(options.camera);
  std::string text;
  auto json = nlohmann::ordered_json::array();
  for (const Control& control : all_controls()) {
    if (options.json) {
      json.push_back(as_json(camera, control));
    } else {
      text += as_text(camera, control);
    }
  }
  output.print(options.json ? json.dump(2) + "\n" : text);
}

using Action = void (*)(const Options&, StandardOutput&);

std::shared_ptr<Options> add(CLI::App& command, Command& chosen, Action action) {
  auto options = std::make_shared<Options>();
  add_camera_option(command, options->camera);
  command.callback([options, &chosen, action] {
    chosen = [options, action](StandardOutput& output) { action(*options, output); };
  });
  return options;
}

}  // namespace

void add_control_commands(CLI::App& app, Command& chosen) {
  auto* controls = app.add_subcommand("controls", "List the settings with their values, units and ranges");
  add_json_option(*controls, add(*controls, chosen, list)->json);

  auto* get_command = app.add_subcommand("get", "Show settings");
  get_command->add_option("name", add(*get_command, chosen, get)->arguments, "Settings, see `kxcam controls`")
      ->type_name("NAME")
      ->required();

  auto* set_command = app.add_subcommand("set", "Change settings, in the order given");
  set_command
      ->add_option("assignment", add(*set_command, chosen, set)->arguments,
                   "What to set, see `kxcam controls`")
      ->type_name("NAME=VALUE")
      ->required();
}

}  // namespace kxcam
