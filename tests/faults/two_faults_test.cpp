// SPDX-License-Identifier: Apache-2.0

// Two faults at random in one operation. KXCAM_FAULT_SEED repeats what the printed seed found.

#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "effort.h"
#include "fault_case.h"
#include "worker_processes.h"

namespace kxcam::faults {
namespace {

unsigned chosen_seed() {
  const char* given = std::getenv("KXCAM_FAULT_SEED");
  return given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
}

void append(kxsim::FaultPlan& to, const kxsim::FaultPlan& from) {
  to.requests.insert(to.requests.end(), from.requests.begin(), from.requests.end());
  to.bulk.insert(to.bulk.end(), from.bulk.begin(), from.bulk.end());
  to.frames.insert(to.frames.end(), from.frames.begin(), from.frames.end());
}

class Dice {
 public:
  explicit Dice(unsigned seed) : random_(seed) {}

  template <class T>
  const T& one_of(std::span<const T> all) {
    return all[std::uniform_int_distribution<size_t>(0, all.size() - 1)(random_)];
  }
  uint64_t up_to(uint64_t most) { return std::uniform_int_distribution<uint64_t>(1, most)(random_); }

 private:
  std::minstd_rand random_;
};

/// Of the operations' requests most, of their reads all are among these.
constexpr uint64_t kLastRequest = 100;
constexpr uint64_t kLastRead = 12;

void meet_two_faults(FaultyCamera& camera, unsigned seed, Worker& worker) {
  Dice dice(seed);
  const Operation& operation = dice.one_of<Operation>(operations());
  kxsim::FaultPlan plan;
  std::string what = "seed " + std::to_string(seed) + ", " + std::string(operation.name) + ":";
  for (int i = 0; i < 2; ++i) {
    const Target target = dice.one_of<Target>(operation.targets);
    const std::vector<FaultKind> kinds = fault_kinds(target);
    const FaultKind& kind = dice.one_of<FaultKind>(kinds);
    const uint64_t n = dice.up_to(target == Target::kRequests ? kLastRequest : kLastRead);
    append(plan, kind.plan(n));
    what += " " + std::string(kind.name) + ", number " + std::to_string(n) + ";";
  }
  worker.begins(what);
  SCOPED_TRACE(what);
  // The graver of the two may be either, and even the harmless ones add up.
  run_case(camera, operation, plan, Aftermath::kPulled, 2);
}

TEST(TwoFaults, EndAsDocumented) {
  const unsigned seed = chosen_seed();
  std::printf("  seed %u\n", seed);
  const Effort much = effort();
  run_in_processes(much.workers, [&](Worker& worker) {
    FaultyCamera camera(worker.number() % 2 == 0 ? "3600,fps=0,features=5" : "0030,fps=0");
    for (int i = 0; i < much.pairs; ++i) {
      meet_two_faults(camera, seed + static_cast<unsigned>(worker.number() * much.pairs + i), worker);
    }
  });
}

}  // namespace
}  // namespace kxcam::faults
