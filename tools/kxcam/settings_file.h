// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "controls.h"

namespace kxcam {

/// All settings that the camera offers as a text that a person can read, change and compare: a line
/// "name = value  # unit, range" for each.
std::string settings_text(const OpenCamera& camera);

/// The settings in such a text, in the order of the table of controls, whatever order the text has. Throws
/// Error (usage) that names `source` and the line of whatever is wrong, or says that there are none.
std::vector<Assignment> parse_settings(std::string_view text, const std::string& source);

/// parse_settings() of a file; "-" is standard input. Throws Error when it cannot be read.
std::vector<Assignment> read_settings_file(const std::string& name);

}  // namespace kxcam
