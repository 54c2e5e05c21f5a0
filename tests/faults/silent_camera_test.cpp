// SPDX-License-Identifier: Apache-2.0

// A camera that answers nothing any more, and one that is not there.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fault_case.h"
#include "kxcam/kxcam.h"
#include "worker_processes.h"

namespace kxcam::faults {
namespace {

using namespace std::chrono_literals;

void answer_nothing(FaultyCamera& camera) {
  camera.device().inject({.requests = {{.action = kxsim::RequestFault::Action::kTimeout}},
                          .bulk = {{.action = kxsim::BulkFault::Action::kTimeout}}});
}

class SilentCamera : public testing::TestWithParam<const char*> {
 protected:
  using Milliseconds = std::chrono::milliseconds;

  /// Every operation in a process of its own, as all of them are one long wait.
  static void run_all(const std::vector<Operation>& all, void (*disturb)(FaultyCamera&),
                      Milliseconds (*limit)(const Operation&)) {
    run_in_processes(static_cast<int>(all.size()), [&](Worker& worker) {
      const Operation& operation = all[static_cast<size_t>(worker.number)];
      worker.begins(operation.name);
      SCOPED_TRACE(operation.name);
      FaultyCamera camera(GetParam());
      operation.prepare(camera);
      disturb(camera);
      const TimedRun run = run_timed(camera, operation);
      EXPECT_LE(run.time, limit(operation) + kBusyMachine);
      camera.restore();
    });
  }
};

TEST_P(SilentCamera, EndsInTime) {
  std::vector<Operation> chosen;
  for (const Operation& operation : operations()) {
    if (effort().long_waits || operation.silent_limit < 5s) chosen.push_back(operation);
  }
  run_all(chosen, answer_nothing, [](const Operation& operation) { return operation.silent_limit; });
}

TEST_P(SilentCamera, EndsAtOnceWhenItIsGone) {
  std::vector<Operation> all(operations().begin(), operations().end());
  for (Operation& operation : all) {
    if (!operation.failures.empty()) operation.failures.push_back(KXCAM_ERROR_EMPTY_BUS);
  }
  run_all(
      all, [](FaultyCamera& camera) { camera.pull(); },
      [](const Operation& operation) { return operation.limit; });
}

INSTANTIATE_TEST_SUITE_P(Cameras, SilentCamera, testing::Values("3600,fps=0,features=5", "0030,fps=0"),
                         [](const auto& setup) { return std::string(setup.param, 4); });

}  // namespace
}  // namespace kxcam::faults
