// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "camera.h"
#include "verify/check_result.h"

namespace kxcam::verify {

struct WalkOptions {
  bool write = false;     ///< the set stored in slot 1 may be replaced for a moment
  bool numbered = false;  ///< the camera sends the frames of `kxsim --scene numbers`
};

/// Tries everything that one open camera offers, one thing after the other, and leaves its settings as they
/// were. A check that fails does not keep the others from being made.
CheckResults walk(const Camera& camera, const WalkOptions& options);

}  // namespace kxcam::verify
