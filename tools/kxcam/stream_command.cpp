// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <kxcam/extra.h>
#include <kxcam/kxcam.h>

#include "camera.h"
#include "commands.h"
#include "controls.h"
#include "diagnosis.h"
#include "interrupt.h"
#include "progress.h"
#include "stream_statistics.h"

namespace kxcam {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Errors other than a missing frame come at once and again and again: the stream is over.
constexpr int kMostErrorsInARow = 10;
// A camera that runs freely and sends nothing for so many time-outs does not begin again by itself: it was
// reset, by the library after a failed transfer or by the kernel, and answers without sending.
constexpr int kMostTimeoutsInARow = 3;
constexpr int kMostReconnectsInVain = 3;
constexpr milliseconds kPauseAfterError{10};
constexpr milliseconds kPauseBetweenSearches{250};

/// Tells how the stream goes: often on a terminal, once a second elsewhere, not at all beside JSON.
class Reporter {
 public:
  Reporter(StandardOutput& output, bool json) : output_(output), silent_(json) {}

  void report(StreamStatistics& statistics, Clock::duration elapsed) {
    if (elapsed < next_ || (silent_ && !line_.visible())) return;
    next_ = elapsed + interval();
    const std::string text = statistics.progress(elapsed);
    if (line_.visible()) {
      line_.show(text);
    } else {
      output_.print(text + "\n");
    }
  }

  void announce(const std::string& event) {
    line_.show("");
    if (silent_) {
      print_message(event + "\n");
    } else {
      output_.print(event + "\n");
    }
  }

 private:
  milliseconds interval() const { return milliseconds(line_.visible() ? 250 : 1000); }

  StandardOutput& output_;
  StatusLine line_;
  bool silent_;
  Clock::duration next_ = interval();
};

class Stream {
 public:
  Stream(const StreamOptions& options, const Camera& camera)
      : options_(options),
        camera_(camera),
        format_(options.format.value_or(natural_format(camera.identity().product_id))) {
    statistics_.begin_losses(counters());
  }

  /// Runs until it has what was asked for, the user interrupts it or the camera fails it for good.
  void run(Reporter& reporter) {
    while (!finished()) {
      take_frame();
      if (failure_ && options_.reconnect) recover(reporter);
      statistics_.set_losses(counters());
      reporter.report(statistics_, elapsed());
    }
    if (!failure_ && is_silent()) failure_ = no_frame_error(camera_.index(), quiet_ms());
  }

  PixelFormat format() const { return format_; }
  const StreamStatistics& statistics() const { return statistics_; }
  Clock::duration elapsed() const { return Clock::now() - start_; }
  const std::optional<Error>& failure() const { return failure_; }

 private:
  bool finished() const {
    if (failure_ || interrupted()) return true;
    if (options_.frames && statistics_.frames() >= *options_.frames) return true;
    return options_.seconds && StreamStatistics::Seconds(elapsed()).count() >= *options_.seconds;
  }

  kxcam_statistics counters() const {
    kxcam_statistics counters{};
    kxcam_get_statistics(camera_.index(), &counters, sizeof counters);
    return counters;
  }

  // One short wait at a time, so that the report goes on while no frame comes.
  void take_frame() {
    const int code = camera_.query(format_, milliseconds(0), frame_);
    if (code == KXCAM_ERROR_NO_FRAME) {
      note_silence();
    } else if (code != 0) {
      note_error(code);
    } else {
      statistics_.add_frame(frame_.size());
      reconnects_in_vain_ = 0;
      begin_again();
    }
  }

  void begin_again() {
    errors_in_a_row_ = 0;
    timeouts_in_a_row_ = 0;
    last_frame_ = Clock::now();
  }

  int quiet_ms() const {
    return static_cast<int>(std::chrono::duration_cast<milliseconds>(Clock::now() - last_frame_).count());
  }

  /// A triggered camera may be silent for as long as nothing triggers it.
  bool is_silent() const {
    return timeouts_in_a_row_ > 0 && read_control(camera_, find_control("trigger")) == 0;
  }

  void note_silence() {
    const bool too_long = quiet_ms() >= (timeouts_in_a_row_ + 1) * options_.timeout_ms;
    if (too_long) {
      ++timeouts_in_a_row_;
      statistics_.add_timeout();
    }
    if ((too_long || options_.reconnect) && !camera_.answers()) {
      failure_ = camera_gone_error(camera_.index());
    } else if (timeouts_in_a_row_ >= kMostTimeoutsInARow && is_silent()) {
      failure_ = no_frame_error(camera_.index(), quiet_ms());
    }
  }

  void note_error(int code) {
    statistics_.add_error(code);
    if (++errors_in_a_row_ >= kMostErrorsInARow) {
      failure_ = camera_error(camera_.index(), "taking a frame", code);
    } else {
      std::this_thread::sleep_for(kPauseAfterError);
    }
  }

  /// Leaves the failure where the camera cannot be brought back.
  void recover(Reporter& reporter) {
    if (!camera_.answers()) {
      reporter.announce(fmt::format("camera {} is gone; waiting for it", camera_.index()));
      wait_for_return(reporter);
    } else if (is_silent() && reconnects_in_vain_ < kMostReconnectsInVain) {
      ++reconnects_in_vain_;
      reporter.announce(fmt::format("camera {} sends no frames; reconnecting", camera_.index()));
      wait_for_return(reporter);
    }
  }

  /// Until the camera is back, the stream is to end anyway or the user interrupts it. The failure stays when
  /// it is not back by then.
  void wait_for_return(Reporter& reporter) {
    const Error failure = *failure_;
    const auto since = Clock::now();
    failure_.reset();
    bool back = false;
    while (!finished() && !(back = camera_.come_back())) std::this_thread::sleep_for(kPauseBetweenSearches);
    if (!back) {
      if (!interrupted()) failure_ = failure;
      return;
    }
    const StreamStatistics::Seconds away = Clock::now() - since;
    statistics_.add_absence(away);
    begin_again();
    reporter.announce(fmt::format("camera {} is back after {:.1f} s", camera_.index(), away.count()));
  }

  const StreamOptions& options_;
  const Camera& camera_;
  PixelFormat format_;
  StreamStatistics statistics_;
  std::vector<uint8_t> frame_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_frame_ = start_;  ///< or the beginning, of the stream or after a return
  int errors_in_a_row_ = 0;
  int timeouts_in_a_row_ = 0;
  int reconnects_in_vain_ = 0;
  std::optional<Error> failure_;
};

void print_summary(const Stream& stream, const Camera& camera, const StreamOptions& options,
                   StandardOutput& output) {
  const auto elapsed = stream.elapsed();
  if (!options.json) {
    output.print(stream.statistics().summary(elapsed));
    return;
  }
  nlohmann::ordered_json json = {
      {"camera", camera.index()}, {"serial", camera.identity().serial}, {"format", name_of(stream.format())}};
  json.update(stream.statistics().json(elapsed));
  output.print(json.dump(2) + "\n");
}

}  // namespace

void stream(const StreamOptions& options, StandardOutput& output) {
  const Camera camera(options.camera);
  apply(options.settings, camera);
  Stream stream(options, camera);
  {
    Reporter reporter(output, options.json);
    stream.run(reporter);
  }
  print_summary(stream, camera, options, output);
  if (stream.failure()) throw Error(*stream.failure());
  if (stream.statistics().frames() > 0 || interrupted()) return;
  throw no_frame_error(camera.index(),
                       static_cast<int>(std::chrono::duration_cast<milliseconds>(stream.elapsed()).count()));
}

}  // namespace kxcam
