// SPDX-License-Identifier: Apache-2.0
#include "fault_case.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "kxcam/kxcam.h"

namespace kxcam::faults {
namespace {

using kxsim::FaultPlan;
using Request = kxsim::RequestFault::Action;
using Bulk = kxsim::BulkFault::Action;
using Frame = kxsim::FrameFault::Action;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using enum Aftermath;

/// The n-th request and, unless `kAttempts` is 1, those that try again.
template <Request kAction, uint64_t kAttempts = 1, size_t kLength = 0>
FaultPlan request(uint64_t n) {
  return {.requests = {{.action = kAction, .which = {n, n + kAttempts - 1}, .length = kLength}}};
}

FaultPlan all_requests_from(uint64_t n) {
  return {.requests = {{.action = Request::kStall, .which = {.first = n}}}};
}

template <Bulk kAction>
FaultPlan read(uint64_t n) {
  return {.bulk = {{.action = kAction, .which = {n, n}}}};
}

template <Bulk kAction>
FaultPlan all_reads_from(uint64_t n) {
  return {.bulk = {{.action = kAction, .which = {.first = n}}}};
}

template <Frame kAction>
FaultPlan frame(uint64_t n) {
  return {.frames = {{.action = kAction, .which = {n, n}, .bytes = 100}}};
}

constexpr FaultKind kOfRequests[] = {
    {"request refused once", request<Request::kStall>, kNone},
    {"request refused", request<Request::kStall, 2>, kLost},
    {"request unanswered once", request<Request::kTimeout>, kNone},
    {"request unanswered", request<Request::kTimeout, 2>, kLost},
    {"all requests refused", all_requests_from, kLost},
    {"empty answer", request<Request::kShort>, kLost},
    {"answer of one byte", request<Request::kShort, 1, 1>, kLost},
    {"answer of noise", request<Request::kGarbage>, kLost},
    {"unplugged in a request", request<Request::kUnplug>, kPulled},
};

constexpr FaultKind kOfReads[] = {
    {"read unanswered", read<Bulk::kTimeout>, kLost},
    {"read refused", read<Bulk::kStall>, kReset},
    {"read overflown", read<Bulk::kOverflow>, kReset},
    {"read disturbed", read<Bulk::kError>, kReset},
    {"all reads unanswered", all_reads_from<Bulk::kTimeout>, kLost},
    {"all reads disturbed", all_reads_from<Bulk::kError>, kReset},
    {"unplugged in a read", read<Bulk::kUnplug>, kPulled},
    {"frame too short", frame<Frame::kShort>, kLost},
    {"frame too long", frame<Frame::kLong>, kLost},
    // Runs into the next frame, which does not fit any more: an overflow.
    {"frame without end", frame<Frame::kUnended>, kReset},
};

}  // namespace

std::span<const FaultKind> fault_kinds(Target target) {
  if (target == Target::kRequests) return kOfRequests;
  return kOfReads;
}

Effort effort() {
#if defined(KXCAM_THREAD_SANITIZER)
  Effort effort{.workers = 12, .step = 7, .kinds = 1, .first = 2, .pairs = 2, .long_waits = false};
#elif defined(KXCAM_ADDRESS_SANITIZER)
  Effort effort{.workers = 24, .step = 1, .kinds = 1, .first = 0, .pairs = 2, .long_waits = false};
#else
  Effort effort{.workers = 32, .step = 1, .kinds = 1, .first = 5, .pairs = 3, .long_waits = false};
#endif
  const char* all = std::getenv("KXCAM_EVERY_FAULT");
  if (all != nullptr && std::string_view(all) == "1") {
    effort.step = 1;
    effort.kinds = SIZE_MAX;
    effort.pairs *= 8;
    effort.long_waits = true;
  }
  return effort;
}

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
