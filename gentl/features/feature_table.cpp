// SPDX-License-Identifier: Apache-2.0
#include "features/feature_table.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>

#include "features/features.h"

namespace kxcam::gentl {

namespace {

bool is_whole(const Feature& feature) {
  return feature.kind != Feature::Kind::kReal;
}

Value value_of(const Feature& feature, double number) {
  return is_whole(feature) ? Value(static_cast<int64_t>(std::llround(number))) : Value(number);
}

double number_of(const Value& value) {
  const auto* whole = std::get_if<int64_t>(&value);
  return whole != nullptr ? static_cast<double>(*whole) : real_of(value);
}

std::string sentence(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

/// "auto-white-balance" becomes "AutoWhiteBalance", and "50hz" "Hz50", as a name begins with a letter.
std::string name_of(std::string_view words) {
  const size_t digits = std::min(words.find_first_not_of("0123456789"), words.size());
  std::string name;
  bool upper = true;
  for (const char each : words.substr(digits)) {
    if (each == '-') {
      upper = true;
      continue;
    }
    name += upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(each))) : each;
    upper = false;
  }
  return name + std::string(words.substr(0, digits));
}

std::vector<Choice> choices_of(const kxcam_control& control) {
  std::vector<Choice> choices;
  for (int64_t n = 0; control.choices[n] != nullptr; ++n) choices.push_back({name_of(control.choices[n]), n});
  return choices;
}

}  // namespace

std::optional<kxcam_control> find_control(std::string_view name) {
  kxcam_control each{};
  for (int n = 0; kxcam_get_control(n, &each, sizeof each) == 0; ++n) {
    if (name == each.name) return each;
  }
  return std::nullopt;
}

void FeatureTable::add_control(const char* name, Feature row) {
  covered_.insert(name);
  const std::optional<kxcam_control> control = find_control(name);
  if (!control || !camera_.offers(name)) return;
  if (row.tooltip.empty()) row.tooltip = sentence(control->description);
  row.tooltip += std::string(" (control ") + name + ")";
  const bool is_number = row.kind == Feature::Kind::kInteger || row.kind == Feature::Kind::kReal;
  if (row.unit.empty() && is_number) row.unit = control->unit;
  const Feature kind{.name = row.name, .kind = row.kind, .category = "", .tooltip = ""};
  if (row.get == nullptr)
    row.get = [this_camera = &camera_, name, kind] { return value_of(kind, this_camera->get(name)); };
  if (row.set == nullptr && camera_.can_set(name))
    row.set = [this_camera = &camera_, name](const Value& value) {
      this_camera->set(name, number_of(value));
    };
  if (row.range == nullptr && is_number) {
    const double step = std::max(control->step, is_whole(row) ? 1.0 : 0.0);
    row.range = [range = Range{control->minimum, control->maximum, step}] { return range; };
  }
  add(std::move(row));
}

void FeatureTable::add_control_if_taken(const char* name, Feature row) {
  if (camera_.offers(name) && camera_.takes(name)) return add_control(name, std::move(row));
  pass_over(name);
}

void FeatureTable::add_other(const kxcam_control& control) {
  Feature row{
      .name = "kxcam" + name_of(control.name),
      .kind = (control.flags & KXCAM_CONTROL_WHOLE) != 0 ? Feature::Kind::kInteger : Feature::Kind::kReal,
      .category = "kxcamControls",
      .tooltip = "",
      .visibility = Feature::Visibility::kExpert,
      .standard = false};
  if (control.choices != nullptr) {
    row.kind = Feature::Kind::kChoice;
    row.choices = choices_of(control);
    const bool off_on =
        row.choices.size() == 2 && row.choices[0].name == "Off" && row.choices[1].name == "On";
    if (off_on) row.kind = Feature::Kind::kSwitch;
  }
  // Times can be set in whole steps of the camera, but any number is taken.
  add_control(control.name, std::move(row));
}

void FeatureTable::add_other_controls() {
  kxcam_control each{};
  for (int n = 0; kxcam_get_control(n, &each, sizeof each) == 0; ++n) {
    if (!covered_.contains(each.name)) add_other(each);
  }
}

std::vector<Feature> features_of(Camera& camera) {
  FeatureTable table(camera);
  add_device_control(table);
  add_image_format_control(table);
  add_acquisition_control(table);
  add_analog_control(table);
  add_line_control(table);
  add_user_sets(table);
  add_statistics(table);
  table.pass_over("rotate-90");  // the camera is opened without
  table.pass_over("timeout");    // the stream waits as long as its consumer does
  table.add_other_controls();
  return table.take();
}

}  // namespace kxcam::gentl
