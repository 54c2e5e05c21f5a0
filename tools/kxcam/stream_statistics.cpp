// SPDX-License-Identifier: Apache-2.0
#include "stream_statistics.h"

#include <iterator>
#include <numeric>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "diagnosis.h"

namespace kxcam {
namespace {

constexpr LossCause kCauses[] = {
    {"too_short", "too short", &kxcam_statistics::too_short},
    {"too_long", "too long", &kxcam_statistics::too_long},
    {"timed_out", "timed out", &kxcam_statistics::timed_out},
    {"old_geometry", "from before a change of size", &kxcam_statistics::old_geometry},
    {"flushed", "flushed", &kxcam_statistics::flushed},
    {"passed_over", "passed over", &kxcam_statistics::passed_over},
    {"failed", "not processed", &kxcam_statistics::failed},
};

}  // namespace

std::span<const LossCause> loss_causes() {
  return kCauses;
}

uint64_t StreamStatistics::lost() const {
  return std::accumulate(std::begin(kCauses), std::end(kCauses), uint64_t{0},
                         [&](uint64_t sum, const LossCause& cause) {
                           return sum + now_.*cause.counter - before_.*cause.counter;
                         });
}

double StreamStatistics::seconds_full() const {
  return static_cast<double>(now_.ring_full_ns - before_.ring_full_ns) / 1e9;
}

void StreamStatistics::add_frame(std::size_t bytes) {
  ++frames_;
  bytes_ += bytes;
}

void StreamStatistics::add_absence(Seconds duration) {
  ++absences_;
  absent_ += duration;
}

StreamStatistics::Rates StreamStatistics::rates(uint64_t frames, uint64_t bytes, Seconds elapsed) {
  const double seconds = elapsed.count();
  if (!(seconds > 0)) return {};
  return {static_cast<double>(frames) / seconds, static_cast<double>(bytes) / 1e6 / seconds};
}

std::string StreamStatistics::progress(Seconds elapsed) {
  const Rates now = rates(frames_ - shown_frames_, bytes_ - shown_bytes_, elapsed - shown_at_);
  shown_frames_ = frames_;
  shown_bytes_ = bytes_;
  shown_at_ = elapsed;
  const uint64_t errors = std::accumulate(errors_.begin(), errors_.end(), uint64_t{0},
                                          [](uint64_t sum, const auto& entry) { return sum + entry.second; });
  return fmt::format(
      "{:6.1f} s  {:7} frames  {:6.1f} frames/s  {:7.1f} MB/s  {} lost  {} time-outs  {} errors",
      elapsed.count(), frames_, now.frames, now.megabytes, lost(), timeouts_, errors);
}

std::string StreamStatistics::summary(Seconds elapsed) const {
  const Rates all = rates(frames_, bytes_, elapsed);
  std::string text = fmt::format(
      "elapsed    {:.1f} s\n"
      "frames     {} ({:.1f} frames/s, {:.1f} MB/s)\n"
      "lost       {}\n",
      elapsed.count(), frames_, all.frames, all.megabytes, lost());
  for (const LossCause& cause : kCauses) {
    const uint64_t count = now_.*cause.counter - before_.*cause.counter;
    if (count > 0) text += fmt::format("           {} {}\n", count, cause.words);
  }
  if (seconds_full() > 0)
    text +=
        fmt::format("           {:.1f} s without a free buffer, in which the camera may have dropped more\n",
                    seconds_full());
  text += fmt::format("time-outs  {}\n", timeouts_);
  for (const auto& [code, count] : errors_) {
    text += fmt::format("errors     {} (code {}: {})\n", count, code, error_text(code));
  }
  if (absences_ > 0) text += fmt::format("reconnects {} ({:.1f} s away)\n", absences_, absent_.count());
  return text;
}

nlohmann::ordered_json StreamStatistics::json(Seconds elapsed) const {
  const Rates all = rates(frames_, bytes_, elapsed);
  auto errors = nlohmann::ordered_json::object();
  for (const auto& [code, count] : errors_) errors[std::to_string(code)] = count;
  auto losses = nlohmann::ordered_json::object();
  for (const LossCause& cause : kCauses) losses[cause.name] = now_.*cause.counter - before_.*cause.counter;
  return {{"seconds", elapsed.count()},
          {"frames", frames_},
          {"frames_per_second", all.frames},
          {"bytes", bytes_},
          {"megabytes_per_second", all.megabytes},
          {"lost", lost()},
          {"losses", std::move(losses)},
          {"seconds_without_buffer", seconds_full()},
          {"timeouts", timeouts_},
          {"reconnects", absences_},
          {"seconds_away", absent_.count()},
          {"errors", std::move(errors)}};
}

}  // namespace kxcam
