// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "device/fault_plan.h"

namespace kxcam::faults {

/// What is left of a camera after a fault.
enum class Aftermath {
  kNone,    ///< the library tries a second time, and that time it works
  kLost,    ///< a request was not executed, or its answer was wrong; or a frame was lost
  kReset,   ///< the library has reset the camera, and some do not send pictures after that
  kPulled,  ///< the camera is off the bus
};

enum class Target { kRequests, kReads };

/// One way in which the n-th request, bulk read or frame of an operation goes wrong, or all from there on.
struct FaultKind {
  std::string_view name;
  Target target;
  kxsim::FaultPlan (*plan)(uint64_t n);
  Aftermath aftermath;
};

/// All that can happen to a request or to a read of image data.
std::vector<FaultKind> fault_kinds(Target target);

}  // namespace kxcam::faults
