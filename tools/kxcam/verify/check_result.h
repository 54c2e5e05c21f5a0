// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kxcam::verify {

enum class Outcome {
  kPassed,
  kFailed,
  kSkipped,  ///< could not be judged: the camera does not offer it, or the scene does not show it
};

/// One thing that was verified on one camera.
struct CheckResult {
  std::string check;
  Outcome outcome = Outcome::kPassed;
  std::string detail;  ///< what was measured, or why it failed or was skipped
};
using CheckResults = std::vector<CheckResult>;

}  // namespace kxcam::verify
