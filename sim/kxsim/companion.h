// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kxsim {

/// A file that belongs to this program: beside it, or where an installation puts it relative to it. Throws
/// std::runtime_error naming both places when it is in neither.
std::filesystem::path find_companion(const std::string& name);

}  // namespace kxsim
