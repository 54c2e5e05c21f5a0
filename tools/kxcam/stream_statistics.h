// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include <kxcam/extra.h>

namespace kxcam {

/// Why a frame that arrived was not delivered.
struct LossCause {
  const char* name;  ///< in JSON
  const char* words;
  uint64_t kxcam_statistics::*counter;
};
std::span<const LossCause> loss_causes();

/// What a stream delivered and what it failed to deliver, by cause.
class StreamStatistics {
 public:
  using Seconds = std::chrono::duration<double>;

  void add_frame(std::size_t bytes);
  void add_timeout() { ++timeouts_; }
  void add_error(int code) { ++errors_[code]; }
  /// The camera was gone for so long.
  void add_absence(Seconds duration);

  /// The library's counters, at the beginning and whenever they have been read again.
  void begin_losses(const kxcam_statistics& counters) { before_ = now_ = counters; }
  void set_losses(const kxcam_statistics& counters) { now_ = counters; }

  uint64_t frames() const { return frames_; }

  /// One line about the time since the last call, `elapsed` after the start.
  std::string progress(Seconds elapsed);

  /// The whole stream, which took `elapsed`.
  std::string summary(Seconds elapsed) const;
  nlohmann::ordered_json json(Seconds elapsed) const;

 private:
  struct Rates {
    double frames = 0;     ///< per second
    double megabytes = 0;  ///< per second
  };
  uint64_t lost() const;
  double seconds_full() const;
  static Rates rates(uint64_t frames, uint64_t bytes, Seconds elapsed);

  uint64_t frames_ = 0;
  uint64_t bytes_ = 0;
  uint64_t timeouts_ = 0;
  uint64_t absences_ = 0;
  Seconds absent_{0};
  std::map<int, uint64_t> errors_;  ///< by the library's code
  kxcam_statistics before_{};
  kxcam_statistics now_{};

  uint64_t shown_frames_ = 0;
  uint64_t shown_bytes_ = 0;
  Seconds shown_at_{0};
};

}  // namespace kxcam
