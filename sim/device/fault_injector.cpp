// SPDX-License-Identifier: Apache-2.0
#include "device/fault_injector.h"

#include <algorithm>
#include <utility>

namespace kxsim {

void FaultInjector::add(const FaultPlan& plan) {
  const auto append = [](auto& to, const auto& from) {
    for (const auto& fault : from) to.push_back({fault});
  };
  append(requests_, plan.requests);
  append(bulk_, plan.bulk);
  append(frames_, plan.frames);
  append(unplugs_, plan.unplugs);
  if (plan.stream_frames) frames_left_ = plan.stream_frames;
}

void FaultInjector::clear() {
  *this = FaultInjector();
}

template <class Fault>
std::optional<Fault> FaultInjector::advance(std::vector<Counted<Fault>>& faults) {
  std::optional<Fault> hit;
  for (auto& [fault, seen] : faults) {
    if (fault.which.contains(++seen) && !hit) hit = fault;
  }
  return hit;
}

std::optional<RequestFault> FaultInjector::next_request(uint8_t code) {
  std::optional<RequestFault> hit;
  for (auto& [fault, seen] : requests_) {
    if (fault.code && *fault.code != code) continue;
    if (fault.which.contains(++seen) && !hit) hit = fault;
  }
  return hit;
}

std::optional<BulkFault::Action> FaultInjector::next_bulk() {
  const auto hit = advance(bulk_);
  return hit ? std::optional(hit->action) : std::nullopt;
}

std::optional<FrameFault> FaultInjector::next_frame() {
  return advance(frames_);
}

std::optional<UnplugFault> FaultInjector::take_counted(UnplugFault::When when) {
  std::optional<UnplugFault> hit;
  std::erase_if(unplugs_, [&](auto& counted) {
    if (counted.fault.when != when) return false;
    if (++counted.seen < counted.fault.count || hit) return false;
    hit = counted.fault;
    return true;
  });
  return hit;
}

std::optional<UnplugFault> FaultInjector::frame_sent() {
  if (frames_left_ && *frames_left_ > 0) --*frames_left_;
  return take_counted(UnplugFault::When::kFrames);
}

std::optional<UnplugFault> FaultInjector::request_done() {
  return take_counted(UnplugFault::When::kRequests);
}

std::optional<UnplugFault> FaultInjector::take_timed(std::chrono::steady_clock::duration since_plug) {
  const auto due = std::ranges::find_if(unplugs_, [&](const auto& counted) {
    return counted.fault.when == UnplugFault::When::kTime && counted.fault.time <= since_plug;
  });
  if (due == unplugs_.end()) return std::nullopt;
  const auto fault = due->fault;
  unplugs_.erase(due);
  return fault;
}

std::optional<std::chrono::milliseconds> FaultInjector::next_timed() const {
  std::optional<std::chrono::milliseconds> first;
  for (const auto& [fault, seen] : unplugs_) {
    if (fault.when == UnplugFault::When::kTime && (!first || fault.time < *first)) first = fault.time;
  }
  return first;
}

bool FaultInjector::stream_ended() const {
  return frames_left_ == 0U;
}

}  // namespace kxsim
