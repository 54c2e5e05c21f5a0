// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kxcam::doctor {

enum class Severity { kOk, kWarning, kProblem };

/// The outcome of one check.
struct Finding {
  Severity severity = Severity::kOk;
  std::string check;   ///< its name for programs
  std::string camera;  ///< port, "" when it is about the machine
  std::string text;
  std::string remedy = {};  ///< lines that say what to do; "" when there is nothing to do
};

using Findings = std::vector<Finding>;

}  // namespace kxcam::doctor
