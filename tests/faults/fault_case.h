// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "device/fault_plan.h"
#include "fault_kind.h"
#include "faulty_camera.h"
#include "operation.h"

namespace kxcam::faults {

/// What a machine that runs dozens of these at once may add to a time limit.
inline constexpr std::chrono::milliseconds kBusyMachine{10'000};

struct TimedRun {
  bool done;
  std::chrono::milliseconds time;
};

/// Runs the operation, which must succeed or fail as documented.
TimedRun run_timed(FaultyCamera& camera, const Operation& operation);

/// Lets the operation meet the faults, expects of it what its description says, and makes the camera whole
/// again. `faults` is how many there are in the plan. False when the operation was over before the fault's
/// turn.
bool run_case(FaultyCamera& camera, const Operation& operation, const kxsim::FaultPlan& plan,
              Aftermath aftermath, int faults = 1);

}  // namespace kxcam::faults
