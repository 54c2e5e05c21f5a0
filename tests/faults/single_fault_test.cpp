// SPDX-License-Identifier: Apache-2.0

// Every request and every read of an operation goes wrong.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "effort.h"
#include "fault_case.h"
#include "worker_processes.h"

namespace kxcam::faults {
namespace {

/// One operation, in which the n-th request or read goes wrong, n = 1, 2, ... until it ends before the n-th.
/// The kind of fault changes with n and with the turn.
struct Series {
  const Operation& operation;
  std::vector<FaultKind> kinds;
  size_t turn;

  const FaultKind& kind(uint64_t n) const { return kinds[(n + turn) % kinds.size()]; }
};

std::vector<Series> all_series(size_t first_turn) {
  std::vector<Series> all;
  for (const Operation& operation : operations()) {
    for (const Target target : operation.targets) {
      const std::vector<FaultKind> kinds = fault_kinds(target);
      for (size_t turn = 0; turn < std::min(effort().kinds, kinds.size()); ++turn) {
        all.push_back({operation, kinds, first_turn + turn});
      }
    }
  }
  return all;
}

/// How far the workers are with a series.
struct Progress {
  std::atomic<uint64_t> next_n = 1;
  std::atomic<bool> finished = false;
  std::atomic<uint64_t> cases = 0;
  std::atomic<uint64_t> last_n = 0;
  std::atomic<int64_t> longest_ms = 0;
};

template <class T>
void raise_to(std::atomic<T>& maximum, T value) {
  T seen = maximum;
  while (seen < value && !maximum.compare_exchange_weak(seen, value)) {
  }
}

CaseResult run_nth(FaultyCamera& camera, const Series& series, uint64_t n, Worker& worker) {
  const FaultKind& kind = series.kind(n);
  const std::string what =
      std::string(series.operation.name) + ": " + std::string(kind.name) + ", number " + std::to_string(n);
  worker.begins(what);
  SCOPED_TRACE(what);
  return run_case(camera, series.operation, kind.plan(n), kind.aftermath);
}

void run_series(FaultyCamera& camera, const Series& series, Progress& progress, Worker& worker) {
  while (!progress.finished) {
    const uint64_t n = progress.next_n.fetch_add(effort().step);
    const CaseResult result = run_nth(camera, series, n, worker);
    ++progress.cases;
    raise_to(progress.longest_ms, int64_t{result.time.count()});
    if (!result.struck) {
      progress.finished = true;
      return;
    }
    raise_to(progress.last_n, n);
  }
}

const char* name_of(Target target) {
  return target == Target::kRequests ? "requests" : "reads";
}

/// The turns of an operation stand one behind the other.
void report(const std::vector<Series>& series, std::span<const Progress> progress) {
  for (size_t i = 0; i < series.size();) {
    uint64_t cases = 0;
    uint64_t last_n = 0;
    int64_t longest_ms = 0;
    const size_t first = i;
    for (; i < series.size() && series[i].operation.name == series[first].operation.name &&
           series[i].kinds.front().target == series[first].kinds.front().target;
         ++i) {
      cases += progress[i].cases;
      last_n = std::max(last_n, progress[i].last_n.load());
      longest_ms = std::max(longest_ms, progress[i].longest_ms.load());
    }
    std::printf("  %-27s %3lu %-8s, %4lu cases, at most %5ld ms\n", series[first].operation.name.data(),
                last_n, name_of(series[first].kinds.front().target), cases, longest_ms);
  }
}

struct Setup {
  const char* name;
  const char* camera;
  size_t first_turn;
};

void PrintTo(const Setup& setup, std::ostream* out) {
  *out << setup.camera;
}

class SingleFault : public testing::TestWithParam<Setup> {};

TEST_P(SingleFault, EndsAsDocumented) {
  const std::vector<Series> series = all_series(GetParam().first_turn + effort().first);
  const SharedArray<Progress> progress(series.size());
  for (size_t i = 0; i < series.size(); ++i) progress.items()[i].next_n = 1 + i % effort().step;

  run_in_processes(effort().workers, [&](Worker& worker) {
    FaultyCamera camera(GetParam().camera);
    // Each begins at another series: most series are short, and all workers at once would run beyond its end.
    for (size_t i = 0; i < series.size(); ++i) {
      const size_t mine =
          (static_cast<size_t>(worker.number()) * series.size() / static_cast<size_t>(effort().workers) + i) %
          series.size();
      run_series(camera, series[mine], progress.items()[mine], worker);
    }
  });
  report(series, progress.items());
}

INSTANTIATE_TEST_SUITE_P(Cameras, SingleFault,
                         testing::Values(Setup{"Colour8BitNewerBridge", "3600,fps=0,features=5", 0},
                                         Setup{"Mono12BitNewerBridge", "369B,fps=0", 3},
                                         Setup{"Colour8BitOlderBridge", "0030,fps=0", 6}),
                         [](const auto& setup) { return setup.param.name; });

}  // namespace
}  // namespace kxcam::faults
