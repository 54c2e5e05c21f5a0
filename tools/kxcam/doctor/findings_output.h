// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "doctor/facts.h"
#include "doctor/finding.h"

namespace kxcam::doctor {

/// For people: a line for each check, under its camera, and what to do below those that failed.
std::string as_text(const Facts& facts, const Findings& findings);

/// The same as an object with `simulated`, `problems`, `warnings`, `cameras` and `checks`.
std::string as_json(const Facts& facts, const Findings& findings);

/// "2 problems, 1 warning".
std::string summary(const Findings& findings);

bool has_problem(const Findings& findings);

}  // namespace kxcam::doctor
