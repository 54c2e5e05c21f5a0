// SPDX-License-Identifier: Apache-2.0

// Every request and every read of an operation goes wrong, and two of them at random.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fault_case.h"
#include "worker_processes.h"

namespace kxcam::faults {
namespace {

/// One operation, in which the n-th request or read goes wrong, n = 1, 2, ... until it ends before the n-th.
/// The kind of fault changes with n and with the turn.
struct Series {
  const Operation& operation;
  std::span<const FaultKind> kinds;
  size_t turn;
};

std::vector<Series> all_series(size_t first_turn) {
  std::vector<Series> all;
  for (const Operation& operation : operations()) {
    for (const Target target : operation.targets) {
      const auto kinds = fault_kinds(target);
      for (size_t turn = 0; turn < std::min(effort().kinds, kinds.size()); ++turn)
        all.push_back({operation, kinds, first_turn + turn});
    }
  }
  return all;
}

/// How far the workers are with a series.
struct Progress {
  std::atomic<uint64_t> last_n;
  std::atomic<bool> finished;
};

void run_series(FaultyCamera& camera, const Series& series, Progress& progress, Worker& worker) {
  while (!progress.finished) {
    const uint64_t n = progress.last_n += effort().step;
    const FaultKind& kind = series.kinds[(n + series.turn) % series.kinds.size()];
    const auto what = std::string(series.operation.name) + ": " + kind.name + ", number " + std::to_string(n);
    worker.begins(what);
    SCOPED_TRACE(what);
    if (!run_case(camera, series.operation, kind.plan(n), kind.aftermath)) progress.finished = true;
  }
}

struct Setup {
  const char* name;
  const char* camera;
  size_t first_turn;

  friend void PrintTo(const Setup& setup, std::ostream* out) { *out << setup.camera; }
};

class SingleFault : public testing::TestWithParam<Setup> {};

TEST_P(SingleFault, EndsAsDocumented) {
  const std::vector<Series> series = all_series(GetParam().first_turn + effort().first);
  const auto progress = shared<Progress>(series.size());
  for (size_t i = 0; i < series.size(); ++i) progress[i].last_n = 1 + i % effort().step - effort().step;

  run_in_processes(effort().workers, [&](Worker& worker) {
    FaultyCamera camera(GetParam().camera);
    // Each begins at another series: most series are short, and all workers at once would run beyond its end.
    for (size_t i = 0; i < series.size(); ++i) {
      const size_t mine =
          (static_cast<size_t>(worker.number) * series.size() / static_cast<size_t>(effort().workers) + i) %
          series.size();
      run_series(camera, series[mine], progress[mine], worker);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Cameras, SingleFault,
                         testing::Values(Setup{"Colour8BitNewerBridge", "3600,fps=0,features=5", 0},
                                         Setup{"Mono12BitNewerBridge", "369B,fps=0", 3},
                                         Setup{"Colour8BitOlderBridge", "0030,fps=0", 6}),
                         [](const auto& setup) { return setup.param.name; });

// Two faults at random in one operation. KXCAM_FAULT_SEED repeats what the printed seed found.

void append(kxsim::FaultPlan& to, const kxsim::FaultPlan& from) {
  to.requests.insert(to.requests.end(), from.requests.begin(), from.requests.end());
  to.bulk.insert(to.bulk.end(), from.bulk.begin(), from.bulk.end());
  to.frames.insert(to.frames.end(), from.frames.begin(), from.frames.end());
}

/// One of them at random.
template <class T>
const T& one_of(std::span<const T> all, std::minstd_rand& random) {
  return all[std::uniform_int_distribution<size_t>(0, all.size() - 1)(random)];
}

/// Of the operations' requests most, of their reads all are among these.
constexpr uint64_t kLastRequest = 100;
constexpr uint64_t kLastRead = 12;

void meet_two_faults(FaultyCamera& camera, unsigned seed, Worker& worker) {
  std::minstd_rand random(seed);
  const Operation& operation = one_of<Operation>(operations(), random);
  kxsim::FaultPlan plan;
  std::string what = "seed " + std::to_string(seed) + ", " + operation.name + ":";
  for (int i = 0; i < 2; ++i) {
    const Target target = one_of<Target>(operation.targets, random);
    const FaultKind& kind = one_of<FaultKind>(fault_kinds(target), random);
    const uint64_t last = target == Target::kRequests ? kLastRequest : kLastRead;
    const uint64_t n = std::uniform_int_distribution<uint64_t>(1, last)(random);
    append(plan, kind.plan(n));
    what += std::string(" ") + kind.name + ", number " + std::to_string(n) + ";";
  }
  worker.begins(what);
  SCOPED_TRACE(what);
  // The graver of the two may be either, and even the harmless ones add up.
  run_case(camera, operation, plan, Aftermath::kPulled, 2);
}

TEST(TwoFaults, EndAsDocumented) {
  const char* given = std::getenv("KXCAM_FAULT_SEED");
  const auto seed =
      given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  std::printf("  seed %u\n", seed);
  const Effort much = effort();
  run_in_processes(much.workers, [&](Worker& worker) {
    FaultyCamera camera(worker.number % 2 == 0 ? "3600,fps=0,features=5" : "0030,fps=0");
    for (int i = 0; i < much.pairs; ++i) {
      meet_two_faults(camera, seed + static_cast<unsigned>(worker.number * much.pairs + i), worker);
    }
  });
}

}  // namespace
}  // namespace kxcam::faults
