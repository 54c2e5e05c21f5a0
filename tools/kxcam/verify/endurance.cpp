// SPDX-License-Identifier: Apache-2.0
#include "verify/endurance.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <utility>

#include <fmt/format.h>
#include <unistd.h>

#include <kxcam/kxcam.h>

#include "interrupt.h"
#include "verify/frames.h"
#include "verify/gate.h"

namespace kxcam::verify {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kQuietEvery = 10s;
constexpr int kFrameMs = 1000;
constexpr int kTakersEach = 2;
constexpr int kFreeRun = 1;
constexpr int kTriggered = 2;

/// What the whole process holds.
struct Usage {
  int64_t resident_kib = 0;
  int64_t descriptors = 0;
  int64_t threads = 0;

  static int64_t entries(const char* folder) {
    using Iterator = std::filesystem::directory_iterator;
    return std::distance(Iterator(folder), Iterator());
  }

  static Usage now() {
    int64_t pages = 0;
    int64_t resident_pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident_pages;
    return {.resident_kib = resident_pages * sysconf(_SC_PAGESIZE) / 1024,
            .descriptors = entries("/proc/self/fd"),
            .threads = entries("/proc/self/task")};
  }

  void include(const Usage& other) {
    resident_kib = std::max(resident_kib, other.resident_kib);
    descriptors = std::max(descriptors, other.descriptors);
    threads = std::max(threads, other.threads);
  }
};

class Random {
 public:
  explicit Random(uint64_t seed) : engine_(seed) {}
  int between(int low, int high) { return std::uniform_int_distribution(low, high)(engine_); }
  double between(double low, double high) { return std::uniform_real_distribution(low, high)(engine_); }
  bool chance(int percent) { return between(1, 100) <= percent; }

 private:
  std::mt19937_64 engine_;
};

/// One camera under load.
class Subject {
 public:
  Subject(int camera, CallWatch& watch, const EnduranceOptions& options)
      : camera_(camera), watch_(watch), options_(options) {
    kxcam_describe(camera_, &description_, sizeof description_);
    CameraGetResolutionCount(camera_, &presets_);
  }

  /// One query, of any format.
  void take(Random& random, uint64_t& last_sequence, Frame& frame) {
    static constexpr std::array kFormats = {
        int{KXCAM_FORMAT_RAW},
        int{KXCAM_FORMAT_GREY},
        int{KXCAM_FORMAT_COLOR},
        KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR,
        KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT,
        KXCAM_FORMAT_GREY | KXCAM_FORMAT_UNCORRECTED,
    };
    // Raw frames are those that can be looked at most closely.
    const int format =
        random.chance(50) ? kFormats.front() : kFormats[static_cast<size_t>(random.between(0, 5))];
    const int code = watch_("kxcam_query", [&] { return take_next(camera_, format, kFrameMs, frame); });
    if (code != 0) return;
    ++deliveries_;
    if (last_sequence != 0 && frame.info.sequence <= last_sequence)
      complain(fmt::format("frame {} came after frame {}", frame.info.sequence, last_sequence));
    last_sequence = frame.info.sequence;
    if (!options_.numbered || format != KXCAM_FORMAT_RAW) return;
    if (const auto fault = numbered_frame_fault(frame.bytes)) complain(*fault);
  }

  /// Changes one thing.
  void change(Random& random) {
    if (triggered_ && random.chance(70)) {
      watch_("CameraTriggerShot", [&] { return CameraTriggerShot(camera_); });
      return;
    }
    const int choice = random.between(1, 100);
    if (choice <= 6) return change_geometry(random);
    if (choice <= 9) return change_snap_mode(random);
    if (choice <= 11) {
      watch_("CameraClearHostBuffer", [&] { return CameraClearHostBuffer(camera_); });
      return;
    }
    if (choice <= 13) {
      const int angle = 90 * random.between(0, 3);
      watch_("CameraSetRotate", [&] { return CameraSetRotate(camera_, angle); });
      return;
    }
    change_control(random);
  }

  /// Reconnects a camera that is gone, or gave nothing since the last look, as a program would.
  bool rescue() {
    const uint64_t now = deliveries_;
    const bool may_be_silent = triggered_ && statistics().state != KXCAM_GONE;
    if (now != deliveries_before_ || may_be_silent) {
      deliveries_before_ = now;
      return false;
    }
    watch_("CameraReconnect", [&] { return CameraReconnect(camera_); });
    return true;
  }

  /// With all threads at rest: the frames are accounted for, and more of them come.
  void check(bool last) {
    run_freely();
    check_books();
    Frame frame;
    // A camera that failed answers only after a reconnect.
    const int patience_ms = options_.faults ? 2 * kFrameMs : 10 * kFrameMs;
    if (take_next(camera_, KXCAM_FORMAT_RAW, patience_ms, frame) == 0) {
      ++deliveries_;
    } else if (!options_.faults || !comes_back(frame)) {
      const kxcam_statistics now = statistics();
      complain(fmt::format("no frame {}: the camera is {}, {} transfers failed and {} reconnects succeeded",
                           last ? "at the end" : "after a quiet point",
                           now.state == KXCAM_GONE ? "gone" : "there", now.transfer_errors, now.reconnects));
    }
  }

  kxcam_statistics statistics() const {
    kxcam_statistics statistics{};
    kxcam_get_statistics(camera_, &statistics, sizeof statistics);
    return statistics;
  }

  CheckResults results() const {
    const std::lock_guard lock(mutex_);
    CheckResults results;
    for (const std::string& complaint : complaints_)
      results.push_back({.check = "endurance", .outcome = Outcome::kFailed, .detail = complaint});
    if (results.empty()) {
      results.push_back({.check = "endurance",
                         .outcome = Outcome::kPassed,
                         .detail = fmt::format("{} frames delivered, all accounted for",
                                               static_cast<uint64_t>(deliveries_))});
    }
    return results;
  }

 private:
  void complain(const std::string& complaint) {
    const std::lock_guard lock(mutex_);
    complaints_.insert(complaint);
  }

  /// Frames of a small size one after the other, with a short exposure. Whether the camera took it all.
  bool run_freely() {
    const int preset = presets_ > 1 ? 1 : 0;
    const bool free = watch_("CameraSetSnapMode", [&] { return CameraSetSnapMode(camera_, kFreeRun); }) == 0;
    if (free) triggered_ = false;
    const bool sized = watch_("CameraSetResolution",
                              [&] { return CameraSetResolution(camera_, preset, nullptr, nullptr); }) == 0;
    kxcam_set(camera_, "auto-exposure", 0);
    kxcam_set(camera_, "exposure", 5);
    return free && sized;
  }

  /// A camera that is away, or meets one more fault, is given time. It comes back as it was left: one that
  /// was away when it was told to run freely still waits for triggers.
  bool comes_back(Frame& frame) {
    constexpr auto kPatience = 60s;
    const auto end = Clock::now() + kPatience;
    while (Clock::now() < end) {
      if (watch_("CameraReconnect", [&] { return CameraReconnect(camera_); }) == 0 && run_freely() &&
          take_next(camera_, KXCAM_FORMAT_RAW, 10 * kFrameMs, frame) == 0) {
        ++deliveries_;
        return true;
      }
      std::this_thread::sleep_for(100ms);
    }
    return false;
  }

  void check_books() {
    const kxcam_statistics s = statistics();
    const uint64_t accounted = s.delivered + s.too_short + s.too_long + s.timed_out + s.old_geometry +
                               s.flushed + s.passed_over + s.failed + static_cast<uint64_t>(s.waiting);
    if (accounted != s.ended)
      complain(fmt::format("{} frames arrived and {} are accounted for", s.ended, accounted));
    if (s.delivered < deliveries_)
      complain(fmt::format("{} frames were delivered and {} counted", static_cast<uint64_t>(deliveries_),
                           s.delivered));
  }

  void change_geometry(Random& random) {
    if (random.chance(30) && presets_ > 1) {
      const int preset = random.between(random.chance(20) ? 0 : 1, presets_ - 1);
      watch_("CameraSetResolution", [&] { return CameraSetResolution(camera_, preset, nullptr, nullptr); });
      return;
    }
    const int width_step = std::max(description_.region_step_x, 1);
    const int height_step = std::max(description_.region_step_y, 1);
    const auto length = [&](int full, int step) {
      const int most = std::max(full / step / 2, 1);
      return step * random.between(std::max(most / 8, 1), most);
    };
    int width = length(description_.sensor_width, width_step);
    int height = length(description_.sensor_height, height_step);
    int x = width_step * random.between(0, (description_.sensor_width - width) / width_step);
    int y = height_step * random.between(0, (description_.sensor_height - height) / height_step);
    double rotated = 0;
    kxcam_get(camera_, "rotate-90", &rotated);
    if (rotated != 0) {  // the region is one of the picture
      std::swap(x, y);
      std::swap(width, height);
    }
    watch_("kxcam_set_region", [&] { return kxcam_set_region(camera_, x, y, width, height); });
  }

  void change_snap_mode(Random& random) {
    const bool triggered = random.chance(30);
    const int mode = triggered ? kTriggered : kFreeRun;
    if (watch_("CameraSetSnapMode", [&] { return CameraSetSnapMode(camera_, mode); }) == 0)
      triggered_ = triggered;
  }

  void change_control(Random& random) {
    // Long exposures and delays leave no time for anything else; the mode of the trigger has its own turn.
    static const std::set<std::string> kLeftAlone = {
        "exposure",   "exposure-ms", "auto-exposure", "auto-gain", "delay",
        "frame-rate", "fixed-rate",  "timeout",       "trigger",   "trigger-frames"};
    kxcam_control control{};
    int count = 0;
    while (kxcam_get_control(count, &control, sizeof control) == 0) ++count;
    if (count == 0 || kxcam_get_control(random.between(0, count - 1), &control, sizeof control) != 0) return;
    double value = 0;
    if (random.chance(50) || kLeftAlone.contains(control.name)) {
      watch_("kxcam_get", [&] { return kxcam_get(camera_, control.name, &value); });
      return;
    }
    value = random.between(control.minimum, control.maximum);
    if (control.step > 0)
      value = control.minimum + std::floor((value - control.minimum) / control.step) * control.step;
    watch_("kxcam_set", [&] { return kxcam_set(camera_, control.name, value); });
  }

  const int camera_;
  CallWatch& watch_;
  const EnduranceOptions options_;
  kxcam_description description_{};
  int presets_ = 0;
  std::atomic<bool> triggered_ = false;
  std::atomic<uint64_t> deliveries_ = 0;
  uint64_t deliveries_before_ = 0;  ///< of the thread that rescues
  mutable std::mutex mutex_;
  std::set<std::string> complaints_;  ///< guarded by mutex_
};

class Run {
 public:
  Run(const std::vector<int>& cameras, const EnduranceOptions& options) : options_(options) {
    for (const int camera : cameras) subjects_.push_back(std::make_unique<Subject>(camera, watch_, options));
  }

  EnduranceResult result() {
    const auto start = Clock::now();
    const auto end =
        start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options_.seconds));
    start_threads();
    auto next_quiet = start + kQuietEvery;
    while (Clock::now() < end && !interrupted()) {
      std::this_thread::sleep_for(100ms);
      if (Clock::now() < next_quiet) continue;
      quiet_point(false);
      next_quiet = Clock::now() + kQuietEvery;
    }
    ending_ = true;
    for (std::thread& thread : threads_) thread.join();
    quiet_point(true);
    EnduranceResult result{.seconds = std::chrono::duration<double>(Clock::now() - start).count(),
                           .quiet_points = quiet_points_,
                           .reconnects = reconnects_,
                           .calls = watch_.statistics(),
                           .statistics = {},
                           .results = {},
                           .program = {usage()}};
    for (const auto& subject : subjects_) {
      result.statistics.push_back(subject->statistics());
      result.results.push_back(subject->results());
    }
    return result;
  }

 private:
  /// Repeats an action until the run ends, but for the quiet points.
  template <class Action>
  void start_thread(int longest_pause_ms, Action action) {
    threads_.emplace_back(
        [this, longest_pause_ms, action, random = Random(++seed_ + options_.seed * 1000)]() mutable {
          while (!ending_) {
            {
              const Gate::Pass pass(gate_);
              action(random);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(random.between(0, longest_pause_ms)));
          }
        });
  }

  void start_threads() {
    for (const auto& owned : subjects_) {
      Subject* subject = owned.get();
      for (int n = 0; n < kTakersEach; ++n)
        start_thread(3, [subject, last = uint64_t{0}, frame = Frame()](Random& random) mutable {
          subject->take(random, last, frame);
        });
      start_thread(12, [subject](Random& random) { subject->change(random); });
      if (options_.faults)
        start_thread(1000, [this, subject](Random&) {
          if (subject->rescue()) ++reconnects_;
        });
    }
  }

  void quiet_point(bool last) {
    gate_.close();
    options_.at_rest(true);
    for (const auto& subject : subjects_) subject->check(last);
    last_usage_ = Usage::now();
    if (++quiet_points_ <= 2) first_usage_.include(last_usage_);
    options_.at_rest(false);
    gate_.open();
  }

  CheckResult usage() const {
    constexpr int64_t kGrowthKib = 64 * 1024;
    CheckResult result{.check = "resources", .outcome = Outcome::kPassed, .detail = {}};
    if (quiet_points_ < 4) {
      result.outcome = Outcome::kSkipped;
      result.detail = "too short a run to see growth";
      return result;
    }
    const bool grown = last_usage_.resident_kib > first_usage_.resident_kib + kGrowthKib ||
                       last_usage_.descriptors > first_usage_.descriptors;
    if (grown) result.outcome = Outcome::kFailed;
    result.detail =
        fmt::format("memory {} to {} MiB, descriptors {} to {}", first_usage_.resident_kib / 1024,
                    last_usage_.resident_kib / 1024, first_usage_.descriptors, last_usage_.descriptors);
    return result;
  }

  const EnduranceOptions options_;
  CallWatch watch_;
  std::vector<std::unique_ptr<Subject>> subjects_;
  Gate gate_;
  std::atomic<bool> ending_ = false;
  std::atomic<uint64_t> reconnects_ = 0;
  uint64_t seed_ = 0;
  std::vector<std::thread> threads_;
  uint64_t quiet_points_ = 0;
  Usage first_usage_;
  Usage last_usage_;
};

}  // namespace

EnduranceResult endure(const std::vector<int>& cameras, const EnduranceOptions& options) {
  return Run(cameras, options).result();
}

}  // namespace kxcam::verify
