// SPDX-License-Identifier: Apache-2.0
#include "verify/verification.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <kxcam/kxcam.h>

namespace kxcam::verify {
namespace {

using Json = nlohmann::ordered_json;

const char* word(Outcome outcome) {
  switch (outcome) {
    case Outcome::kPassed:
      return "passed";
    case Outcome::kFailed:
      return "FAILED";
    case Outcome::kSkipped:
      return "skipped";
  }
  return "";
}

bool any_failed(const CheckResults& results) {
  return std::ranges::any_of(results, [](const CheckResult& one) { return one.outcome == Outcome::kFailed; });
}

std::string lines(const CheckResults& results) {
  std::string text;
  for (const auto& [check, outcome, detail] : results)
    text += fmt::format("  {:<8} {:<20} {}\n", word(outcome), check, detail);
  return text;
}

Json to_json(const CheckResults& results) {
  Json list = Json::array();
  for (const auto& [check, outcome, detail] : results) {
    const char* const name = outcome == Outcome::kFailed ? "failed" : word(outcome);
    list.push_back({{"check", check}, {"outcome", name}, {"detail", detail}});
  }
  return list;
}

Json to_json(const kxcam_statistics& s) {
  return {{"ended", s.ended},
          {"delivered", s.delivered},
          {"too_short", s.too_short},
          {"too_long", s.too_long},
          {"timed_out", s.timed_out},
          {"old_geometry", s.old_geometry},
          {"flushed", s.flushed},
          {"passed_over", s.passed_over},
          {"failed", s.failed},
          {"waiting", s.waiting},
          {"transfer_errors", s.transfer_errors},
          {"resets", s.resets},
          {"reconnects", s.reconnects},
          {"ring_full_ms", static_cast<double>(s.ring_full_ns) / 1e6}};
}

double in_milliseconds(CallWatch::Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

Json calls_json(const EnduranceResult& run) {
  Json calls = Json::object();
  for (const auto& [function, one] : run.calls)
    calls[function] = {
        {"calls", one.calls}, {"failures", one.failures}, {"longest_ms", in_milliseconds(one.longest)}};
  return calls;
}

std::string endurance_text(const EnduranceResult& run) {
  std::string text = fmt::format("endurance: {:.0f} s, {} quiet points, {} reconnects\n", run.seconds,
                                 run.quiet_points, run.reconnects);
  for (const auto& [function, one] : run.calls)
    text += fmt::format("  {:<24} {:>8} calls, {:>6} failed, longest {:.0f} ms\n", function, one.calls,
                        one.failures, in_milliseconds(one.longest));
  return text + lines(run.program);
}

}  // namespace

bool Verification::passed() const {
  const bool failed =
      std::ranges::any_of(cameras, [](const VerifiedCamera& camera) { return any_failed(camera.results); });
  return !failed && !(endurance && any_failed(endurance->program));
}

std::string Verification::text() const {
  std::string text;
  for (const auto& [description, results] : cameras) {
    text +=
        fmt::format("{} (product {:04x}, firmware {:04x}, {} Mbit/s, port {})\n", description.model,
                    description.product_id, description.firmware, description.usb_speed, description.port);
    text += lines(results);
  }
  if (endurance) text += endurance_text(*endurance);
  return text + (passed() ? "passed\n" : "FAILED\n");
}

Json Verification::json() const {
  int major = 0;
  int minor = 0;
  CameraGetVersion(&major, &minor);
  Json list = Json::array();
  for (size_t i = 0; i < cameras.size(); ++i) {
    const auto& [description, results] = cameras[i];
    Json camera = {{"model", description.model},
                   {"product_id", fmt::format("{:04x}", description.product_id)},
                   {"firmware", fmt::format("{:04x}", description.firmware)},
                   {"usb_mbit_s", description.usb_speed},
                   {"port", description.port},
                   {"results", to_json(results)}};
    if (endurance) camera["statistics"] = to_json(endurance->statistics[i]);
    list.push_back(std::move(camera));
  }
  Json json = {{"library", fmt::format("{}.{}", major, minor)}, {"passed", passed()}, {"cameras", list}};
  if (endurance) {
    json["endurance"] = {{"seconds", endurance->seconds},
                         {"quiet_points", endurance->quiet_points},
                         {"reconnects", endurance->reconnects},
                         {"program", to_json(endurance->program)},
                         {"calls", calls_json(*endurance)}};
  }
  return json;
}

}  // namespace kxcam::verify
