// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "doctor/facts.h"

namespace kxcam::doctor {

/// The rule for the cameras below a root folder: 70-kxcam.rules, of which the copy in the foremost folder
/// replaces the others, or else any file that names the cameras' vendor.
Rule find_rule(const std::filesystem::path& root);

}  // namespace kxcam::doctor
