// SPDX-License-Identifier: Apache-2.0
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "camera.h"
#include "commands.h"
#include "controls.h"

namespace kxcam {
namespace {

std::string assignment_text(const Camera& camera, const Control& control) {
  return fmt::format("{}={}\n", control.name, value_text(control, read_control(camera, control)));
}

nlohmann::ordered_json json_value(const Control& control, std::optional<double> value) {
  if (!value) return nullptr;
  if (control.choices != nullptr) return value_text(control, *value);
  if (control.whole()) return static_cast<int64_t>(*value);
  return *value;
}

nlohmann::ordered_json as_json(const Camera& camera, const Control& control) {
  nlohmann::ordered_json json = {{"name", control.name},
                                 {"value", json_value(control, control.get(camera.index()))}};
  if (*control.unit != '\0') json["unit"] = control.unit;
  if (control.choices != nullptr) {
    json["choices"] = words_of(control);
  } else {
    json["minimum"] = json_value(control, control.minimum);
    json["maximum"] = json_value(control, control.maximum);
  }
  json["group"] = control.group;
  json["description"] = control.description;
  return json;
}

std::string as_text(const Camera& camera, const Control& control) {
  const auto value = control.get(camera.index());
  return fmt::format("{:<18}{:>10} {:<7}{:<14} {}\n", control.name, value ? value_text(control, *value) : "-",
                     control.unit, range_text(control), control.description);
}

constexpr const char* kNotKept =
    "These settings are lost when the camera is closed; `kxcam set --store` keeps them in the camera.\n";

}  // namespace

void list_controls(const ControlOptions& options, StandardOutput& output) {
  const Camera camera(options.camera);
  std::string text;
  auto json = nlohmann::ordered_json::array();
  for (const Control& control : control_table()) {
    if (options.json) {
      json.push_back(as_json(camera, control));
    } else {
      text += as_text(camera, control);
    }
  }
  output.print(options.json ? json.dump(2) + "\n" : text);
}

void get_controls(const ControlOptions& options, StandardOutput& output) {
  std::vector<const Control*> controls;
  for (const std::string& name : options.arguments) controls.push_back(&find_control(name));
  const Camera camera(options.camera);
  for (const Control* control : controls) output.print(assignment_text(camera, *control));
}

/// Nothing is set when one of the assignments is wrong.
void set_controls(const ControlOptions& options, StandardOutput& output) {
  const auto assignments = parse_assignments(options.arguments);
  const Camera camera(options.camera);
  write_assignments(camera, assignments);
  if (options.store) store_settings(camera, kSlotLoadedAtOpen);
  for (const Assignment& assignment : assignments) output.print(assignment_text(camera, *assignment.control));
  print_message(options.store ? fmt::format("Stored in camera {}.\n", camera.index()) : kNotKept);
}

}  // namespace kxcam
