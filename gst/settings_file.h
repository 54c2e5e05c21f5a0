// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "controls.h"

namespace kxcam {

/// Reads a file as `kxcam params save` writes it. Throws std::runtime_error that names the file and the line
/// of what is wrong.
ControlValues read_settings_file(const std::string& name);

}  // namespace kxcam
