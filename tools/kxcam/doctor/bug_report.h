// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "attached.h"
#include "doctor/facts.h"
#include "doctor/finding.h"

namespace kxcam::doctor {

struct ReportInput {
  std::vector<std::pair<std::string, std::string>> versions;
  Facts facts;
  Findings findings;
  bool with_serials = false;
  std::vector<AttachedCamera> named;  ///< with_serials only: the cameras that the library can ask
};

/// One text to send along with a bug. Says at its head what it holds. Names of users and of the host
/// are in it wherever a path or a file has them: without() takes them out.
std::string bug_report(const ReportInput& input);

}  // namespace kxcam::doctor
