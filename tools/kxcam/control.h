// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "open_camera.h"

namespace kxcam {

/// One setting of a camera that the user can read and change by name.
struct Control {
  std::string_view name;
  std::string_view unit;  ///< "" where it is a plain number
  double minimum;
  double maximum;
  bool whole;                             ///< no fractions
  std::vector<std::string_view> choices;  ///< words for the values 0, 1 and so on; empty: a number

  /// Value of the camera of that index; nothing when it does not offer the control.
  std::optional<double> (*get)(int camera);
  /// Status of the library.
  uint32_t (*set)(int camera, double value);

  /// What a reset makes of it; nothing where the control is but another view of one further on.
  std::optional<double> neutral;
  double stored_step = 1;  ///< what the camera's memory keeps is that much apart
};

std::span<const Control> all_controls();

/// Throws Error (usage) that lists the names when there is none of that one.
const Control& find_control(std::string_view name);

/// The value that a text stands for; throws Error (usage) that tells what would be right.
double parse_value(const Control& control, const std::string& text);

/// The text that parse_value() reads.
std::string value_text(const Control& control, double value);

/// "1..255", or the words.
std::string range_text(const Control& control);

/// Throws Error when the camera does not offer the control.
double read_control(const OpenCamera& camera, const Control& control);
/// Throws Error when the camera refuses the value.
void write_control(const OpenCamera& camera, const Control& control, double value);

}  // namespace kxcam
