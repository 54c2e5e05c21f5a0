// SPDX-License-Identifier: Apache-2.0
#include "verify/walk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include <kxcam/extra.h>
#include <kxcam/kxcam.h>

#include "interrupt.h"
#include "stored_settings.h"
#include "verify/frames.h"

namespace kxcam::verify {
namespace {

constexpr int kFreeRunning = 1;
constexpr int kWaitsForTrigger = 2;
constexpr int kSlowestFrameMs = 5000;
constexpr int kStoredSlot = 1;

/// A check that could not be made, and why.
struct Skipped {
  std::string reason;
};
/// A check that failed, and why.
struct Failed {
  std::string reason;
};

void demand(bool holds, const std::string& reason) {
  if (!holds) throw Failed{reason};
}

void demand_success(const char* what, uint32_t status) {
  if (status != 0) throw Failed{fmt::format("{}: {}", what, kxcam_error_text(kxcam_thread_error()))};
}

struct Size {
  int width = 0;
  int height = 0;

  int pixels() const { return width * height; }
  bool operator==(const Size&) const = default;
};

std::string text(const Size& size) {
  return fmt::format("{} x {}", size.width, size.height);
}

class Walk {
 public:
  Walk(const Camera& camera, const WalkOptions& options)
      : camera_(camera.index()), open_camera_(camera), options_(options) {
    kxcam_describe(camera_, &description_, sizeof description_);
  }

  CheckResults run() {
    check("stream", [&] { return stream(); });
    check("presets", [&] { return presets(); });
    check("regions", [&] { return regions(); });
    check("formats", [&] { return formats(); });
    check("exposure", [&] { return brightness("exposure", longest_exposure()); });
    check("gain", [&] { return brightness("gain", 0); });
    check("software trigger", [&] { return trigger(); });
    check("mirror and rotation", [&] { return orientation(); });
    check("stored settings", [&] { return stored_settings(); });
    check("losses", [&] { return losses(); });
    return std::move(results_);
  }

 private:
  template <class Check>
  void check(const char* name, Check make) {
    if (interrupted()) return;
    CheckResult result{.check = name, .outcome = Outcome::kPassed, .detail = {}};
    try {
      result.detail = make();
    } catch (const Skipped& skipped) {
      result.outcome = Outcome::kSkipped;
      result.detail = skipped.reason;
    } catch (const Failed& failed) {
      result.outcome = Outcome::kFailed;
      result.detail = failed.reason;
    }
    calm_down();
    results_.push_back(std::move(result));
  }

  /// Whatever a check ended with, the next one finds the full sensor in free run.
  void calm_down() {
    CameraSetSnapMode(camera_, kFreeRunning);
    CameraSetRotate(camera_, 0);
    for (const auto set_mirror : {CameraSetMirrorX, CameraSetMirrorY}) set_mirror(camera_, false);
    CameraSetResolution(camera_, 0, nullptr, nullptr);
  }

  Frame frame(int format) {
    Frame taken;
    const int code = take_fresh(camera_, format, kSlowestFrameMs, taken);
    if (code != 0) throw Failed{fmt::format("no frame: {}", kxcam_error_text(code))};
    if (options_.numbered && format == KXCAM_FORMAT_RAW) {
      if (const auto fault = numbered_frame_fault(taken.bytes)) throw Failed{*fault};
    }
    return taken;
  }

  void demand_size(const Frame& taken, const Size& expected) {
    const Size size{taken.info.width, taken.info.height};
    demand(size == expected, fmt::format("a frame of {} instead of {}", text(size), text(expected)));
  }

  std::string stream() {
    constexpr int kFrames = 10;
    const Frame first = frame(KXCAM_FORMAT_RAW);
    Frame last;
    for (int i = 0; i < kFrames; ++i) {
      const int code = take_next(camera_, KXCAM_FORMAT_RAW, kSlowestFrameMs, last);
      demand(code == 0, fmt::format("frame {} of {}: {}", i + 1, kFrames, kxcam_error_text(code)));
      demand(last.info.sequence > first.info.sequence, "frames out of order");
    }
    const auto frames = static_cast<double>(last.info.sequence - first.info.sequence);
    const double seconds = static_cast<double>(last.info.arrived_ns - first.info.arrived_ns) / 1e9;
    return fmt::format("{:.1f} frames/s of {} bytes", frames / seconds, last.bytes.size());
  }

  std::string presets() {
    int count = 0;
    demand_success("number of presets", CameraGetResolutionCount(camera_, &count));
    for (int preset = 0; preset < count; ++preset) {
      Size told;
      Size set;
      demand_success("size of a preset", CameraGetResolution(camera_, preset, &told.width, &told.height));
      demand_success("preset", CameraSetResolution(camera_, preset, &set.width, &set.height));
      demand(told == set, fmt::format("preset {} is {} and becomes {}", preset, text(told), text(set)));
      demand_size(frame(KXCAM_FORMAT_RAW), set);
    }
    return fmt::format("{} presets", count);
  }

  std::string regions() {
    const Size full = full_size();
    const Size step{std::max(description_.region_step_x, 1), std::max(description_.region_step_y, 1)};
    const auto whole_steps = [](int length, int unit) { return length / unit * unit; };
    const Size half{whole_steps(full.width / 2, step.width), whole_steps(full.height / 2, step.height)};
    const Size rest{whole_steps(full.width - half.width, step.width),
                    whole_steps(full.height - half.height, step.height)};
    const std::array<Size, 3> corners = {
        Size{0, 0}, rest,
        Size{whole_steps(full.width / 4, step.width), whole_steps(full.height / 4, step.height)}};
    for (const Size& corner : corners) {
      demand_success("region",
                     kxcam_set_region(camera_, corner.width, corner.height, half.width, half.height));
      demand_size(frame(KXCAM_FORMAT_RAW), half);
    }
    demand(kxcam_set_region(camera_, 0, 0, full.width + step.width, full.height) != 0,
           "a region larger than the sensor was accepted");
    demand_size(frame(KXCAM_FORMAT_RAW), half);
    return fmt::format("{} in three places, steps of {}", text(half), text(step));
  }

  std::string formats() {
    constexpr int kColour = KXCAM_FORMAT_COLOR;
    static constexpr std::array kFormats = {std::pair{int{KXCAM_FORMAT_GREY}, 1}, std::pair{kColour, 3},
                                            std::pair{kColour | KXCAM_FORMAT_BGR, 3},
                                            std::pair{kColour | KXCAM_FORMAT_32BIT, 4}};
    for (const auto& [format, channels] : kFormats) {
      const Frame taken = frame(format);
      const size_t expected =
          static_cast<size_t>(taken.info.width) * static_cast<size_t>(taken.info.height * channels);
      demand(taken.bytes.size() == expected,
             fmt::format("{} bytes in format {:#x} instead of {}", taken.bytes.size(), format, expected));
    }
    return "raw, grey, colour in three orders";
  }

  double longest_exposure() const {
    constexpr double kLongestMs = 200;
    double unit_ms = 0;
    CameraGetExposureUnit(camera_, &unit_ms);
    return unit_ms > 0 ? kLongestMs / unit_ms : 0;
  }

  /// A setting that makes the picture brighter, doubled from its lowest value on until the picture is bright.
  /// `most`: where to stop; 0: at the control's own end.
  std::string brightness(const char* control, double most) {
    constexpr double kBright = 200;
    constexpr double kNoise = 2;
    constexpr double kSeen = 12;
    const auto range = range_of(control);
    double before = 0;
    const int code = kxcam_get(camera_, control, &before);
    if (code != 0) throw Skipped{kxcam_error_text(code)};
    for (const char* automatic : {"auto-exposure", "auto-gain"}) kxcam_set(camera_, automatic, 0);
    const double highest = most > 0 ? std::min(most, range.second) : range.second;
    std::vector<double> levels;
    for (double value = std::max(range.first, 1.0); value <= highest; value *= 2) {
      demand(kxcam_set(camera_, control, value) == 0, fmt::format("{} {} is refused", control, value));
      levels.push_back(mean_level(frame(KXCAM_FORMAT_RAW).bytes));
      if (levels.back() > kBright) break;
    }
    kxcam_set(camera_, control, before);
    if (options_.numbered) throw Skipped{"numbered frames show no light"};
    const auto [darkest, brightest] = std::ranges::minmax(levels);
    if (brightest - darkest < kSeen && (brightest < kSeen || darkest > kBright))
      throw Skipped{fmt::format("too little or too much light: level {:.0f} to {:.0f}", darkest, brightest)};
    demand(brightest - darkest >= kSeen,
           fmt::format("the level stays at {:.0f} to {:.0f}", darkest, brightest));
    for (size_t i = 1; i < levels.size(); ++i)
      demand(levels[i] >= levels[i - 1] - kNoise,
             fmt::format("the level falls from {:.1f} to {:.1f}", levels[i - 1], levels[i]));
    return fmt::format("level {:.0f} to {:.0f} in {} steps", levels.front(), levels.back(), levels.size());
  }

  static std::pair<double, double> range_of(const char* name) {
    kxcam_control control{};
    for (int number = 0; kxcam_get_control(number, &control, sizeof control) == 0; ++number) {
      if (std::string(name) == control.name) return {control.minimum, control.maximum};
    }
    throw Skipped{fmt::format("there is no control {}", name)};
  }

  std::string trigger() {
    constexpr int kQuietMs = 1000;
    if (CameraSetSnapMode(camera_, kWaitsForTrigger) != 0) {
      if (kxcam_thread_error() == KXCAM_ERROR_NOT_SUPPORTED) throw Skipped{"not offered by this model"};
      throw Failed{"trigger mode is refused"};
    }
    Frame taken;
    CameraClearHostBuffer(camera_);
    demand(take_next(camera_, KXCAM_FORMAT_RAW, kQuietMs, taken) == KXCAM_ERROR_NO_FRAME,
           "a frame came without a trigger");
    constexpr int kShots = 3;
    for (int shot = 0; shot < kShots; ++shot) {
      demand_success("trigger shot", CameraTriggerShot(camera_));
      const int code = take_next(camera_, KXCAM_FORMAT_RAW, kSlowestFrameMs, taken);
      demand(code == 0, fmt::format("shot {}: {}", shot + 1, kxcam_error_text(code)));
    }
    demand(take_next(camera_, KXCAM_FORMAT_RAW, kQuietMs, taken) == KXCAM_ERROR_NO_FRAME,
           "more frames than shots");
    demand_success("free run", CameraSetSnapMode(camera_, kFreeRunning));
    frame(KXCAM_FORMAT_RAW);
    return fmt::format("{} frames for {} shots", kShots, kShots);
  }

  std::string orientation() {
    const Frame upright = frame(KXCAM_FORMAT_GREY);
    demand_success("mirror", CameraSetMirrorX(camera_, true));
    const Frame mirrored = frame(KXCAM_FORMAT_GREY);
    demand_success("mirror", CameraSetMirrorX(camera_, false));
    demand_success("rotation", CameraSetRotate(camera_, 90));
    demand_size(frame(KXCAM_FORMAT_GREY), {upright.info.height, upright.info.width});
    // A scene that is its own mirror image, or moves, tells nothing.
    const double as_it_is = difference(upright, mirrored, false);
    const double turned_back = difference(upright, mirrored, true);
    constexpr double kDistinct = 4;
    if (std::abs(as_it_is - turned_back) < kDistinct) return "sizes only: the scene shows too little detail";
    demand(turned_back < as_it_is, "the mirrored picture is not mirrored");
    return "mirror by the picture, rotation by its size";
  }

  /// Mean difference of two grey pictures, the second one mirrored back or not.
  static double difference(const Frame& one, const Frame& other, bool mirror) {
    const auto width = static_cast<size_t>(one.info.width);
    if (width == 0 || one.bytes.size() != other.bytes.size()) return 255;
    uint64_t sum = 0;
    for (size_t i = 0; i < one.bytes.size(); ++i) {
      const size_t column = i % width;
      const size_t at = mirror ? i - column + (width - 1 - column) : i;
      sum += static_cast<uint64_t>(std::abs(int{one.bytes[i]} - int{other.bytes[at]}));
    }
    return static_cast<double>(sum) / static_cast<double>(one.bytes.size());
  }

  /// Values of all controls that the camera offers, in the order in which they are to be written.
  std::vector<std::pair<const char*, double>> settings() const {
    std::vector<std::pair<const char*, double>> values;
    kxcam_control control{};
    for (int number = 0; kxcam_get_control(number, &control, sizeof control) == 0; ++number) {
      double value = 0;
      if ((control.flags & KXCAM_CONTROL_VIEW) == 0 && kxcam_get(camera_, control.name, &value) == 0)
        values.emplace_back(control.name, value);
    }
    return values;
  }

  std::string stored_settings() {
    if (!options_.write) throw Skipped{"writes to the camera's memory; ask for it with --write"};
    const auto live = settings();
    demand_success("loading slot 1", CameraLoadParameter(camera_, kStoredSlot));
    if (has_blank_settings(open_camera_)) {
      put(live);
      throw Skipped{"slot 1 is blank and could not be left so"};
    }
    const auto stored = settings();
    std::string failure = round_trip();
    put(stored);
    const bool put_back = CameraSaveParameter(camera_, kStoredSlot) == 0 &&
                          CameraLoadParameter(camera_, kStoredSlot) == 0 && settings() == stored;
    put(live);
    demand(put_back, "slot 1 could not be put back as it was");
    demand(failure.empty(), failure);
    return "stored, loaded and put back";
  }

  /// Stores a set of its own, changes it, and expects it back. Returns what is wrong.
  std::string round_trip() {
    constexpr std::pair<const char*, double> kOwn[] = {{"gamma", 0.7}, {"contrast", 1.3}, {"target", 91}};
    for (const auto& [name, value] : kOwn) kxcam_set(camera_, name, value);
    const auto own = settings();
    if (CameraSaveParameter(camera_, kStoredSlot) != 0) return "slot 1 cannot be written";
    for (const auto& [name, value] : kOwn) kxcam_set(camera_, name, 1);
    if (CameraLoadParameter(camera_, kStoredSlot) != 0) return "slot 1 cannot be loaded";
    const auto loaded = settings();
    for (size_t i = 0; i < own.size(); ++i) {
      // The memory keeps hundredths.
      if (std::abs(loaded[i].second - own[i].second) > 1e-6)
        return fmt::format("{} was stored as {} and loaded as {}", own[i].first, own[i].second,
                           loaded[i].second);
    }
    return {};
  }

  void put(const std::vector<std::pair<const char*, double>>& values) {
    for (const auto& [name, value] : values) kxcam_set(camera_, name, value);
  }

  std::string losses() {
    kxcam_statistics statistics{};
    demand(kxcam_get_statistics(camera_, &statistics, sizeof statistics) == 0, "no statistics");
    demand(statistics.too_long == 0 && statistics.transfer_errors == 0,
           fmt::format("{} frames too long, {} transfer errors", statistics.too_long,
                       statistics.transfer_errors));
    return fmt::format("{} frames arrived, {} delivered, {} dropped after changes, {} too short",
                       statistics.ended, statistics.delivered,
                       statistics.flushed + statistics.old_geometry + statistics.passed_over,
                       statistics.too_short + statistics.timed_out);
  }

  Size full_size() const { return {description_.sensor_width, description_.sensor_height}; }

  const int camera_;
  const Camera& open_camera_;
  const WalkOptions options_;
  kxcam_description description_{};
  CheckResults results_;
};

}  // namespace

CheckResults walk(const Camera& camera, const WalkOptions& options) {
  return Walk(camera, options).run();
}

}  // namespace kxcam::verify
