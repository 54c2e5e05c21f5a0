// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kxsim {

/// The fault script that an option gives: itself, or with @ in front the name of its file. Throws
/// std::runtime_error when there is no such file or the script cannot be read.
std::string read_fault_option(const std::string& option);

}  // namespace kxsim
