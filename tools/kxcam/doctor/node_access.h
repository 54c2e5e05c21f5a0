// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "doctor/facts.h"

namespace kxcam::doctor {

/// Who may open `file`, a device node that is called `path` in texts.
Node examine_node(const std::filesystem::path& file, std::string path);

}  // namespace kxcam::doctor
