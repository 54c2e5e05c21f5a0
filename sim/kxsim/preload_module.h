// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace kxsim {

/// The module to be preloaded: beside this program, or where an installation puts it relative to this
/// program. Throws std::runtime_error naming both places when it is in neither.
std::filesystem::path find_preload_module();

}  // namespace kxsim
