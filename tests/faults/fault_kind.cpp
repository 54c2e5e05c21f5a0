// SPDX-License-Identifier: Apache-2.0
#include "fault_kind.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kxcam::faults {
namespace {

using kxsim::FaultPlan;
using Request = kxsim::RequestFault::Action;
using Bulk = kxsim::BulkFault::Action;
using Frame = kxsim::FrameFault::Action;

template <Request action, size_t length = 0>
FaultPlan one_attempt(uint64_t n) {
  return {.requests = {{.action = action, .which = {n, n}, .length = length}}};
}

template <Request action>
FaultPlan both_attempts(uint64_t n) {
  return {.requests = {{.action = action, .which = {n, n + 1}}}};
}

template <Request action>
FaultPlan all_from(uint64_t n) {
  return {.requests = {{.action = action, .which = {.first = n}}}};
}

template <Bulk action>
FaultPlan bulk_read(uint64_t n) {
  return {.bulk = {{.action = action, .which = {n, n}}}};
}

template <Bulk action>
FaultPlan all_reads_from(uint64_t n) {
  return {.bulk = {{.action = action, .which = {.first = n}}}};
}

template <Frame action, size_t bytes>
FaultPlan frame(uint64_t n) {
  return {.frames = {{.action = action, .which = {n, n}, .bytes = bytes}}};
}

constexpr std::array kKinds = {
    FaultKind{"request refused once", Target::kRequests, one_attempt<Request::kStall>, Aftermath::kNone},
    FaultKind{"request refused", Target::kRequests, both_attempts<Request::kStall>, Aftermath::kLost},
    FaultKind{"request unanswered once", Target::kRequests, one_attempt<Request::kTimeout>, Aftermath::kNone},
    FaultKind{"request unanswered", Target::kRequests, both_attempts<Request::kTimeout>, Aftermath::kLost},
    FaultKind{"all requests refused", Target::kRequests, all_from<Request::kStall>, Aftermath::kLost},
    FaultKind{"empty answer", Target::kRequests, one_attempt<Request::kShort, 0>, Aftermath::kLost},
    FaultKind{"answer of one byte", Target::kRequests, one_attempt<Request::kShort, 1>, Aftermath::kLost},
    FaultKind{"answer of noise", Target::kRequests, one_attempt<Request::kGarbage>, Aftermath::kLost},
    FaultKind{"unplugged in a request", Target::kRequests, one_attempt<Request::kUnplug>, Aftermath::kPulled},
    FaultKind{"read unanswered", Target::kReads, bulk_read<Bulk::kTimeout>, Aftermath::kLost},
    FaultKind{"read refused", Target::kReads, bulk_read<Bulk::kStall>, Aftermath::kReset},
    FaultKind{"read overflown", Target::kReads, bulk_read<Bulk::kOverflow>, Aftermath::kReset},
    FaultKind{"read disturbed", Target::kReads, bulk_read<Bulk::kError>, Aftermath::kReset},
    FaultKind{"all reads unanswered", Target::kReads, all_reads_from<Bulk::kTimeout>, Aftermath::kLost},
    FaultKind{"all reads disturbed", Target::kReads, all_reads_from<Bulk::kError>, Aftermath::kReset},
    FaultKind{"unplugged in a read", Target::kReads, bulk_read<Bulk::kUnplug>, Aftermath::kPulled},
    FaultKind{"frame too short", Target::kReads, frame<Frame::kShort, 100>, Aftermath::kLost},
    FaultKind{"frame too long", Target::kReads, frame<Frame::kLong, 100>, Aftermath::kLost},
    // Runs into the next frame, which does not fit any more: an overflow.
    FaultKind{"frame without end", Target::kReads, frame<Frame::kUnended, 100>, Aftermath::kReset},
};

}  // namespace

std::vector<FaultKind> fault_kinds(Target target) {
  std::vector<FaultKind> kinds;
  std::ranges::copy_if(kKinds, std::back_inserter(kinds),
                       [target](const FaultKind& kind) { return kind.target == target; });
  return kinds;
}

}  // namespace kxcam::faults
