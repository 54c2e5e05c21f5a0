// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kxsim {

/// Runs a program in this process' environment, passes on signals that are sent to this process, and waits
/// for its end. Returns its exit status; 128 + n when signal n ended it; 127 when it was not found and 126
/// when it could not be run, with a message on standard error.
int run_child(const std::vector<std::string>& command);

}  // namespace kxsim
