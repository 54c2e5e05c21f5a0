// SPDX-License-Identifier: Apache-2.0
#include "stored_settings.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <kxcam/kxcam.h>

#include "diagnosis.h"
#include "error.h"

namespace kxcam {
namespace {

using Values = std::vector<std::optional<double>>;

/// Of all controls, in the order of their table.
Values read_all(int camera) {
  Values values;
  for (const Control& control : control_table()) values.push_back(control.get(camera));
  return values;
}

bool kept(const Control& control, std::optional<double> before, std::optional<double> after) {
  if (control.is_view() || !before) return true;
  const double rounding = control.whole() ? 0 : 1e-6;
  return after && std::abs(*after - *before) < control.step + rounding;
}

std::vector<std::string_view> lost_controls(const Values& before, const Values& after) {
  std::vector<std::string_view> names;
  for (std::size_t i = 0; const Control& control : control_table()) {
    if (!kept(control, before[i], after[i])) names.push_back(control.name);
    ++i;
  }
  return names;
}

/// A camera takes the black level from the target when it loads them, so a target that is to come back as
/// it is has to be stored higher.
void raise_target(const OpenCamera& camera) {
  const Control& target = find_control("target");
  const double raised = read_control(camera, target) + read_control(camera, find_control("black-level"));
  if (read_control(camera, target) == raised) return;
  if (raised > target.maximum) {
    throw Error(ExitCode::kUsage,
                "the camera cannot keep target and black-level that add up to more than 255",
                "Choose a lower target or black-level.");
  }
  write_control(camera, target, raised);
}

/// A camera cuts off what is below its hundredths, and 1.14 is a little less than 114 of them.
void round_reals(const OpenCamera& camera) {
  constexpr double kHundredth = 0.01;
  for (const Control& control : control_table()) {
    if (control.step != kHundredth) continue;
    const double rounded = read_control(camera, control) + kHundredth / 2;
    write_control(camera, control, std::min(rounded, control.maximum));
  }
}

/// False when the camera has no such setting. What it need not change it is not asked to: some refuse even
/// to be told that they are not triggered.
bool change(const OpenCamera& camera, const Assignment& setting) {
  const auto& [control, value] = setting;
  const auto now = control->get(camera.index());
  if (!now) return false;
  if (now == value) return true;
  const uint32_t status = control->set(camera.index(), value);
  if (status != 0 && library_error() == KXCAM_ERROR_NOT_SUPPORTED) return false;
  camera.require(fmt::format("setting {}", control->name), status);
  return true;
}

}  // namespace

bool has_blank_settings(const OpenCamera& camera) {
  constexpr std::string_view kTakenAsTheyAre[] = {"advanced-gain", "readout-mode", "interpolation"};
  return std::ranges::all_of(kTakenAsTheyAre, [&](std::string_view name) {
    const Control& control = find_control(name);
    return control.get(camera.index()) == control.maximum;
  });
}

std::vector<std::string_view> write_settings(const OpenCamera& camera, std::span<const Assignment> settings) {
  // Some settings can only be changed while the camera is not triggered. Whether it is to be comes later.
  const Control& trigger = find_control("trigger");
  const bool triggered = trigger.get(camera.index()) == 1.0;
  if (triggered) write_control(camera, trigger, 0);
  std::vector<std::string_view> missing;
  for (const Assignment& setting : settings) {
    if (!change(camera, setting)) missing.push_back(setting.control->name);
  }
  const bool decided = std::ranges::any_of(settings, [&](const auto& s) { return s.control == &trigger; });
  if (triggered && !decided) write_control(camera, trigger, 1);
  return missing;
}

void write_neutral_settings(const OpenCamera& camera) {
  // A square picture does not show that it is rotated, but that of a blank camera always is.
  if (has_blank_settings(camera) && !find_control("rotate-90").get(camera.index())) {
    camera.require("rotating the picture back", CameraSetRotate(camera.index(), 90));
  }
  std::vector<Assignment> settings;
  for (const Control& control : control_table()) {
    if (!control.is_view()) settings.push_back({&control, control.neutral});
  }
  write_settings(camera, settings);
}

void store_settings(const OpenCamera& camera, int slot) {
  const Values before = read_all(camera.index());
  raise_target(camera);
  round_reals(camera);
  camera.require("storing the settings", CameraSaveParameter(camera.index(), slot));
  CameraLoadParameter(camera.index(), slot);  // a value that is refused is found below
  const auto lost = lost_controls(before, read_all(camera.index()));
  if (lost.empty()) return;
  throw Error(ExitCode::kFailure,
              fmt::format("camera {} did not keep {}", camera.index(), fmt::join(lost, ", ")),
              "Its memory may be write-protected or worn out, or a value larger than it has room for.");
}

void load_stored_settings(const OpenCamera& camera, int slot) {
  camera.require(fmt::format("loading the settings in slot {}", slot),
                 CameraLoadParameter(camera.index(), slot));
}

}  // namespace kxcam
