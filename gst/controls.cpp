// SPDX-License-Identifier: Apache-2.0
#include "controls.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

namespace kxcam {
namespace {

enum class Kind { kSwitch, kChoice, kWhole, kReal };

Kind kind_of(const kxcam_control& control) {
  if (control.choices != nullptr) {
    const bool off_on = std::string_view(control.choices[0]) == "off" &&
                        std::string_view(control.choices[1]) == "on" && control.choices[2] == nullptr;
    return off_on ? Kind::kSwitch : Kind::kChoice;
  }
  return (control.flags & KXCAM_CONTROL_WHOLE) != 0 ? Kind::kWhole : Kind::kReal;
}

/// "anti-flicker" becomes GstKxcamAntiFlicker.
std::string type_name(const kxcam_control& control) {
  std::string name = "GstKxcam";
  bool begins = true;
  for (const char* letter = control.name; *letter != '\0'; ++letter) {
    if (*letter != '-')
      name += begins ? static_cast<char>(std::toupper(static_cast<unsigned char>(*letter))) : *letter;
    begins = *letter == '-';
  }
  return name;
}

/// GObject keeps the words for as long as the process runs.
GType words_type(const kxcam_control& control) {
  const std::string name = type_name(control);
  if (const GType known = g_type_from_name(name.c_str()); known != 0) return known;
  int count = 0;
  while (control.choices[count] != nullptr) ++count;
  auto* const values = g_new0(GEnumValue, count + 1);
  for (int i = 0; i < count; ++i) values[i] = {i, control.choices[i], control.choices[i]};
  return g_enum_register_static(name.c_str(), values);  // NOLINT(clang-analyzer-unix.Malloc): it keeps them
}

std::string blurb_of(const kxcam_control& control) {
  std::string text = control.description;
  text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  if (*control.unit != '\0') text += std::string(" [") + control.unit + "]";
  return text + " (unset: as stored in the camera)";
}

bool is_view_of(const kxcam_control& view, const kxcam_control& setting) {
  // A view is named after its setting and its own unit: "exposure-ms" of "exposure".
  return (view.flags & KXCAM_CONTROL_VIEW) != 0 && std::string(setting.name) + "-" + view.unit == view.name;
}

}  // namespace

std::span<const kxcam_control> controls() {
  static const auto table = [] {
    std::vector<kxcam_control> all;
    kxcam_control control{};
    while (kxcam_get_control(static_cast<int>(all.size()), &control, sizeof control) == 0)
      all.push_back(control);
    return all;
  }();
  return table;
}

std::optional<size_t> find_control(std::string_view name) {
  const auto found = std::ranges::find(
      controls(), name, [](const kxcam_control& control) { return std::string_view(control.name); });
  if (found == controls().end()) return std::nullopt;
  return static_cast<size_t>(found - controls().begin());
}

void assign(ControlValues& values, size_t control, double value) {
  for (size_t other = 0; other < values.size(); ++other) {
    if (is_view_of(controls()[other], controls()[control]) ||
        is_view_of(controls()[control], controls()[other]))
      values[other].reset();
  }
  values[control] = value;
}

double default_of(const kxcam_control& control) {
  return std::isnan(control.neutral) ? control.minimum : control.neutral;
}

GParamSpec* property_of(const kxcam_control& control) {
  constexpr auto kFlags =
      static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_NAME | GST_PARAM_MUTABLE_PLAYING);
  const std::string blurb = blurb_of(control);
  const auto whole = [](double number) { return static_cast<int>(number); };
  switch (kind_of(control)) {
    case Kind::kSwitch:
      return g_param_spec_boolean(control.name, control.name, blurb.c_str(), control.neutral != 0, kFlags);
    case Kind::kChoice:
      return g_param_spec_enum(control.name, control.name, blurb.c_str(), words_type(control),
                               whole(default_of(control)), kFlags);
    case Kind::kWhole:
      return g_param_spec_int(control.name, control.name, blurb.c_str(), whole(control.minimum),
                              whole(control.maximum), whole(default_of(control)), kFlags);
    case Kind::kReal:
      break;
  }
  return g_param_spec_double(control.name, control.name, blurb.c_str(), control.minimum, control.maximum,
                             default_of(control), kFlags);
}

void set_value(const kxcam_control& control, double number, GValue* value) {
  switch (kind_of(control)) {
    case Kind::kSwitch:
      g_value_set_boolean(value, number != 0 ? TRUE : FALSE);
      break;
    case Kind::kChoice:
      g_value_set_enum(value, static_cast<int>(number));
      break;
    case Kind::kWhole:
      g_value_set_int(value, static_cast<int>(number));
      break;
    case Kind::kReal:
      g_value_set_double(value, number);
      break;
  }
}

double number_in(const kxcam_control& control, const GValue* value) {
  switch (kind_of(control)) {
    case Kind::kSwitch:
      return g_value_get_boolean(value) != FALSE ? 1 : 0;
    case Kind::kChoice:
      return g_value_get_enum(value);
    case Kind::kWhole:
      return g_value_get_int(value);
    case Kind::kReal:
      break;
  }
  return g_value_get_double(value);
}

}  // namespace kxcam
