// SPDX-License-Identifier: Apache-2.0
#include "fault_case.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "kxcam/kxcam.h"

namespace kxcam::faults {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// What a machine that runs dozens of these at once may add.
constexpr milliseconds kBusyMachine{10'000};

bool is_documented(const Operation& operation) {
  return std::ranges::find(operation.failures, last_error) != operation.failures.end();
}

}  // namespace

CaseResult run_case(FaultyCamera& camera, const Operation& operation, const kxsim::FaultPlan& plan,
                    Aftermath aftermath, int faults) {
  operation.prepare(camera);
  const uint64_t before = camera.device().counters().faults;
  camera.device().inject(plan);
  last_error = KXCAM_ERROR_NONE_YET;
  const auto start = steady_clock::now();
  const bool done = operation.run(camera);
  const auto time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
  const bool struck = camera.device().counters().faults != before;

  EXPECT_LE(time, faults * operation.limit + kBusyMachine);
  EXPECT_TRUE(done || is_documented(operation)) << "code " << last_error;
  if (!struck) aftermath = Aftermath::kNone;
  EXPECT_TRUE(done || aftermath != Aftermath::kNone) << "code " << last_error;
  camera.device().clear_faults();
  operation.check(camera, aftermath);
  camera.restore();
  return {.struck = struck, .time = time};
}

}  // namespace kxcam::faults
