// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kxcam {

/// "kxcam 1.2.3 (library 2019.1013)".
std::string version();

}  // namespace kxcam
