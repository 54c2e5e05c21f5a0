// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "error.h"

namespace kxcam::doctor {

enum class Severity { kOk, kWarning, kProblem };

/// The outcome of one check.
struct Finding {
  Severity severity = Severity::kOk;
  std::string check;   ///< its name for programs
  std::string camera;  ///< port, "" when it is about the machine
  std::string text;
  std::string remedy = {};  ///< lines that say what to do; "" when there is nothing to do
  /// Exit status of a program that cannot use the camera for this reason; nothing where it still can.
  std::optional<ExitCode> prevents_use = {};
};

using Findings = std::vector<Finding>;

}  // namespace kxcam::doctor
