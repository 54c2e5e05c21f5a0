// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <kxcam/extra.h>

#include "verify/call_watch.h"
#include "verify/check_result.h"

namespace kxcam::verify {

struct EnduranceOptions {
  double seconds = 30;
  uint64_t seed = 1;
  bool numbered = false;  ///< the cameras send the frames of `kxsim --scene numbers`
  bool faults = false;    ///< cameras may fail and leave: they are reconnected
  /// Called before and after each quiet point, with true and false.
  std::function<void(bool)> at_rest = [](bool) {};
};

/// What a run of all threads came to.
struct EnduranceResult {
  double seconds = 0;
  uint64_t quiet_points = 0;
  uint64_t reconnects = 0;
  std::map<std::string, CallWatch::Statistics> calls;
  std::vector<kxcam_statistics> statistics;  ///< by camera, in their order
  std::vector<CheckResults> results;         ///< likewise
  CheckResults program;                      ///< of the process: memory, descriptors, threads
};

/// Runs threads that query, change settings and geometry and fire triggers on all cameras at once. Every ten
/// seconds they stand still, and each camera's frames must be accounted for to the last one.
/// `cameras` are the indices of open ones.
EnduranceResult endure(const std::vector<int>& cameras, const EnduranceOptions& options);

}  // namespace kxcam::verify
