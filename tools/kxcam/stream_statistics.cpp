// SPDX-License-Identifier: Apache-2.0
#include "stream_statistics.h"

#include <numeric>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "diagnosis.h"

namespace kxcam {

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
  return fmt::format("{:6.1f} s  {:7} frames  {:6.1f} frames/s  {:7.1f} MB/s  {} time-outs  {} errors",
                     elapsed.count(), frames_, now.frames, now.megabytes, timeouts_, errors);
}

std::string StreamStatistics::summary(Seconds elapsed) const {
  const Rates all = rates(frames_, bytes_, elapsed);
  std::string text = fmt::format(
      "elapsed    {:.1f} s\n"
      "frames     {} ({:.1f} frames/s, {:.1f} MB/s)\n"
      "time-outs  {}\n",
      elapsed.count(), frames_, all.frames, all.megabytes, timeouts_);
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
  return {{"seconds", elapsed.count()},
          {"frames", frames_},
          {"frames_per_second", all.frames},
          {"bytes", bytes_},
          {"megabytes_per_second", all.megabytes},
          {"timeouts", timeouts_},
          {"reconnects", absences_},
          {"seconds_away", absent_.count()},
          {"errors", std::move(errors)}};
}

}  // namespace kxcam
