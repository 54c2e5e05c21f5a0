// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/App.hpp>

#include "control.h"

namespace kxcam {

/// A control and a value in its range.
struct Assignment {
  const Control* control;
  double value;
};

/// Reads "NAME=VALUE", with or without blanks around the parts; throws Error (usage).
Assignment parse_assignment(std::string_view text);

/// Changes the settings in the order given; throws Error when the camera refuses one.
void write_assignments(const OpenCamera& camera, std::span<const Assignment> assignments);

/// Adds --set, which may be given several times.
void add_set_option(CLI::App& command, std::vector<Assignment>& assignments, const std::string& group = "");

}  // namespace kxcam
