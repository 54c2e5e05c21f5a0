// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <kxcam/extra.h>

#include "verify/check_result.h"
#include "verify/endurance.h"

namespace kxcam::verify {

/// What was found out about one camera.
struct VerifiedCamera {
  kxcam_description description{};
  CheckResults results;
};

/// What was found out about all of them, for the eye and for programs. The text can be sent along with a bug
/// report: it names nobody and no computer.
struct Verification {
  std::vector<VerifiedCamera> cameras;
  std::optional<EnduranceResult> endurance;

  bool passed() const;
  std::string text() const;
  nlohmann::ordered_json json() const;
};

}  // namespace kxcam::verify
