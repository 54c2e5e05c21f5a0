// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <span>

#include "operation.h"

namespace kxcam::faults {

/// One way in which the n-th request, bulk read or frame of an operation goes wrong, or all from there on.
struct FaultKind {
  const char* name;
  kxsim::FaultPlan (*plan)(uint64_t n);
  Aftermath aftermath;
};

/// All that can happen to a request or to a read of image data.
std::span<const FaultKind> fault_kinds(Target target);

/// How much of all that can go wrong is tried.
struct Effort {
  int workers;      ///< processes at once; a thread sanitizer spins when there are many
  uint64_t step;    ///< every so many-th request or read; prime to the ten kinds, so that all have their turn
  size_t kinds;     ///< so many kinds of fault for each, others for the next
  size_t first;     ///< kind to begin with, so that builds differ in what each n meets
  int pairs;        ///< cases with two faults, per worker
  bool long_waits;  ///< operations on a camera that never answers, half a minute each
};

/// Everything, with KXCAM_EVERY_FAULT=1 in the environment: about five minutes. Otherwise what a check has
/// time for.
Effort effort();

/// What a machine that runs dozens of these at once may add to a time limit.
inline constexpr std::chrono::milliseconds kBusyMachine{60'000};

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
