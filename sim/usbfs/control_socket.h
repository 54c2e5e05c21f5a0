// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "device/console.h"

namespace kxsim {

/// Executes the lines that come through a Unix socket of that name (with @ in front an abstract one) on a
/// thread of its own, until the process ends. Only the user's own programs, and root's, are heard. Throws
/// std::system_error when the name cannot be had; the first process of a command has it.
void serve_control_socket(const std::string& name, Console console);

}  // namespace kxsim
