// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <gst/gst.h>

#include <kxcam/extra.h>

namespace kxcam {

/// The library's table.
std::span<const kxcam_control> controls();

/// Place in the table.
std::optional<size_t> find_control(std::string_view name);

/// A value for some of the controls, by place in the table.
using ControlValues = std::vector<std::optional<double>>;

/// Takes a new value. A view and the setting behind it are one thing: the later of the two counts.
void assign(ControlValues& values, size_t control, double value);

/// The property of a control: a switch, a choice of words, a whole or a real number.
GParamSpec* property_of(const kxcam_control& control);
void set_value(const kxcam_control& control, double number, GValue* value);
double number_in(const kxcam_control& control, const GValue* value);

/// What the property shows before a camera is open.
double default_of(const kxcam_control& control);

}  // namespace kxcam
