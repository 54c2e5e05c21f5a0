// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kxcam {

/// "kxcam 1.2.3 (library 2019.1013)".
std::string version();

/// What runs here, as names and values: tool and library, libusb, kernel, distribution, instruction set.
std::vector<std::pair<std::string, std::string>> system_versions();

}  // namespace kxcam
