// SPDX-License-Identifier: Apache-2.0
#include "fault_case.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "kxcam/kxcam.h"

namespace kxcam::faults {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TimedRun run_timed(FaultyCamera& camera, const Operation& operation) {
  last_error = KXCAM_ERROR_NONE_YET;
  const auto start = steady_clock::now();
  const bool done = operation.run(camera);
  const auto time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
  const bool documented = std::ranges::find(operation.failures, last_error) != operation.failures.end();
  EXPECT_TRUE(done || documented) << "code " << last_error;
  return {.done = done, .time = time};
}

bool run_case(FaultyCamera& camera, const Operation& operation, const kxsim::FaultPlan& plan,
              Aftermath aftermath, int faults) {
  operation.prepare(camera);
  const uint64_t before = camera.device().counters().faults;
  camera.device().inject(plan);
  const auto [done, time] = run_timed(camera, operation);
  const bool struck = camera.device().counters().faults != before;

  EXPECT_LE(time, faults * operation.limit + kBusyMachine);
  if (!struck) aftermath = Aftermath::kNone;
  EXPECT_TRUE(done || aftermath != Aftermath::kNone) << "code " << last_error;
  camera.device().clear_faults();
  operation.check(camera, aftermath);
  camera.restore();
  return struck;
}

}  // namespace kxcam::faults
