// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "camera.h"
#include "control_table.h"

namespace kxcam {

/// A control and the value it is to have.
struct Assignment {
  const Control* control;
  double value;
};

/// Throws Error (usage) that lists the names when there is none of that one.
const Control& find_control(std::string_view name);

/// The value that a text stands for; throws Error (usage) that says what would be right.
double parse_value(const Control& control, const std::string& text);

/// Of "NAME=VALUE", with blanks around both or not. Throws Error (usage).
Assignment parse_assignment(std::string_view text);
std::vector<Assignment> parse_assignments(std::span<const std::string> texts);

/// The text that parse_value() reads.
std::string value_text(const Control& control, double value);

/// The words of a control that has them.
std::vector<std::string_view> words_of(const Control& control);

/// A line of text that begins with a capital letter.
std::string sentence_case(std::string text);

/// "1..255", or the words.
std::string range_text(const Control& control);

/// Throws Error when the camera does not offer the control.
double read_control(const OpenCamera& camera, const Control& control);
/// Both throw Error when the camera does not offer the control, or refuses the value.
void write_control(const OpenCamera& camera, const Control& control, double value);
void write_assignments(const OpenCamera& camera, std::span<const Assignment> assignments);

}  // namespace kxcam
