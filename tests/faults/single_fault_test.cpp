// SPDX-License-Identifier: Apache-2.0

// Every request and every read of an operation goes wrong once, in every way there is.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fault_case.h"
#include "worker_processes.h"

namespace kxcam::faults {
namespace {

constexpr int kWorkers = 32;

/// One kind of fault in one operation, met at n = 1, 2, ... until the operation ends before the n-th.
struct Series {
  const Operation& operation;
  const FaultKind& kind;
};

std::vector<Series> all_series() {
  std::vector<Series> all;
  for (const Operation& operation : operations()) {
    for (const FaultKind& kind : fault_kinds()) {
      const bool concerned = std::ranges::find(operation.targets, kind.target) != operation.targets.end();
      if (concerned) all.push_back({operation, kind});
    }
  }
  return all;
}

/// How far the workers are with a series.
struct Progress {
  std::atomic<uint64_t> next_n = 1;
  std::atomic<bool> finished = false;
  std::atomic<uint64_t> struck = 0;
  std::atomic<uint64_t> last_n = 0;
  std::atomic<int64_t> longest_ms = 0;
};

template <class T>
void raise_to(std::atomic<T>& maximum, T value) {
  T seen = maximum;
  while (seen < value && !maximum.compare_exchange_weak(seen, value)) {
  }
}

void run_series(FaultyCamera& camera, const Series& series, Progress& progress, uint64_t step,
                Worker& worker) {
  while (!progress.finished) {
    const uint64_t n = progress.next_n.fetch_add(step);
    const std::string what = std::string(series.operation.name) + ": " + std::string(series.kind.name) +
                             ", number " + std::to_string(n);
    worker.begins(what);
    SCOPED_TRACE(what);
    const CaseResult result = run_case(camera, series.operation, series.kind.plan(n), series.kind.aftermath);
    if (!result.struck) {
      progress.finished = true;
      return;
    }
    ++progress.struck;
    raise_to(progress.last_n, n);
    raise_to(progress.longest_ms, int64_t{result.time.count()});
  }
}

void report(const Series& series, const Progress& progress) {
  std::printf("  %-27s %-23s %3lu of %3lu, at most %4ld ms\n", series.operation.name.data(),
              series.kind.name.data(), progress.struck.load(), progress.last_n.load(),
              progress.longest_ms.load());
}

/// Every how many-th of a series is run by default, each series beginning at another one.
uint64_t step_from_environment(uint64_t by_default) {
  const char* all = std::getenv("KXCAM_EVERY_FAULT");
  return all != nullptr && *all == '1' ? 1 : by_default;
}

struct Setup {
  const char* name;
  const char* camera;
  uint64_t step;
};

class SingleFault : public testing::TestWithParam<Setup> {};

TEST_P(SingleFault, EndsAsDocumented) {
  const std::vector<Series> series = all_series();
  const SharedArray<Progress> progress(series.size());
  const uint64_t step = step_from_environment(GetParam().step);
  for (size_t i = 0; i < series.size(); ++i) progress.items()[i].next_n = 1 + i % step;

  run_in_processes(kWorkers, [&](Worker& worker) {
    FaultyCamera camera(GetParam().camera);
    // Each begins at another series: most series are short, and all workers at once would run beyond its end.
    for (size_t i = 0; i < series.size(); ++i) {
      const size_t mine = (static_cast<size_t>(worker.number()) + i) % series.size();
      run_series(camera, series[mine], progress.items()[mine], step, worker);
    }
  });
  for (size_t i = 0; i < series.size(); ++i) report(series[i], progress.items()[i]);
}

INSTANTIATE_TEST_SUITE_P(Cameras, SingleFault,
                         testing::Values(Setup{"Colour8BitNewerBridge", "3600,fps=0,features=5", 1},
                                         Setup{"Mono12BitNewerBridge", "369B,fps=0", 1},
                                         Setup{"Colour8BitOlderBridge", "0030,fps=0", 1}),
                         [](const auto& setup) { return setup.param.name; });

}  // namespace
}  // namespace kxcam::faults
