// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "standard_output.h"

namespace kxcam {

/// What the command line asks for; throws Error.
using Command = std::function<void(StandardOutput&)>;

/// Throws Error (usage) for a command line that is wrong.
Command parse_command_line(int argc, char** argv);

}  // namespace kxcam
