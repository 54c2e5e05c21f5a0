// SPDX-License-Identifier: Apache-2.0
#include "control.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <kxcam/kxcam.h>

#include "error.h"

namespace kxcam {
namespace {

template <class Value, auto kGet>
std::optional<double> read(int camera) {
  Value value{};
  if (kGet(camera, &value) != 0) return std::nullopt;
  return static_cast<double>(value);
}

template <class Value, auto kSet>
uint32_t write(int camera, double value) {
  return kSet(camera, static_cast<Value>(value));
}

template <auto kGet, auto kSet>
Control number(std::string_view name, std::string_view unit, int minimum, int maximum, int neutral,
               int stored_step = 1) {
  return {name,
          unit,
          double(minimum),
          double(maximum),
          true,
          {},
          read<int, kGet>,
          write<int, kSet>,
          neutral,
          double(stored_step)};
}

template <auto kGet, auto kSet>
Control real(std::string_view name, double minimum, double maximum) {
  return {name, "", minimum, maximum, false, {}, read<double, kGet>, write<double, kSet>, 1.0, 0.01};
}

/// One of a few words; `Value` is what the getter stores.
template <class Value, auto kGet, auto kSet>
Control words(std::string_view name, std::vector<std::string_view> choices, int neutral) {
  const double last = double(choices.size()) - 1;
  return {name, "", 0, last, true, std::move(choices), read<Value, kGet>, write<int, kSet>, neutral};
}

template <auto kGet, auto kSet>
Control on_off(std::string_view name, bool neutral) {
  return {name, "", 0, 1, true, {"off", "on"}, read<bool, kGet>, write<bool, kSet>, neutral ? 1 : 0};
}

std::optional<double> line_ms(int camera) {
  double unit = 0;
  if (CameraGetExposureUnit(camera, &unit) != 0 || !(unit > 0)) return std::nullopt;
  return unit;
}

std::optional<double> read_exposure_ms(int camera) {
  if (!line_ms(camera)) return std::nullopt;
  return read<double, CameraGetExposureTime>(camera);
}

/// The nearest whole number of lines. On some sensors the line depends on the exposure, so that the first
/// try may miss.
uint32_t write_exposure_ms(int camera, double ms) {
  uint32_t status = 0;
  for (int tries = 0; tries < 2; ++tries) {
    const auto unit = line_ms(camera);
    if (!unit) {
      throw Error(ExitCode::kUsage, fmt::format("camera {} does not tell how long its lines last", camera),
                  "Give the exposure in lines.");
    }
    status = CameraSetExposure(camera, static_cast<int>(std::clamp(std::round(ms / *unit), 1.0, 1e9)));
  }
  return status;
}

/// The library reports "off" as a failure.
std::optional<double> read_anti_flicker(int camera) {
  return read<int, CameraGetAntiFlicker>(camera).value_or(0);
}

std::optional<double> read_frame_rate(int camera) {
  bool fixed = false;
  double fps = 0;
  if (CameraGetFrameRate(camera, &fixed, &fps) != 0) return std::nullopt;
  return fps;
}

uint32_t write_frame_rate(int camera, double fps) {
  return CameraSetFrameRate(camera, true, fps);
}

std::optional<double> read_fixed_rate(int camera) {
  bool fixed = false;
  double fps = 0;
  if (CameraGetFrameRate(camera, &fixed, &fps) != 0) return std::nullopt;
  return fixed ? 1 : 0;
}

uint32_t write_fixed_rate(int camera, double fixed) {
  bool was_fixed = false;
  double fps = 0;
  const uint32_t status = CameraGetFrameRate(camera, &was_fixed, &fps);
  return status != 0 ? status : CameraSetFrameRate(camera, fixed != 0, fps);
}

constexpr int kFreeRun = 1;
constexpr int kTriggered = 2;

std::optional<double> read_trigger(int camera) {
  const auto mode = read<int, CameraGetSnapMode>(camera);
  if (!mode) return std::nullopt;
  return *mode == kTriggered ? 1 : 0;
}

uint32_t write_trigger(int camera, double on) {
  return CameraSetSnapMode(camera, on != 0 ? kTriggered : kFreeRun);
}

struct Size {
  int width = 0;
  int height = 0;
};

constexpr int kGains = 3;

template <int kChannel>
std::optional<double> read_wb_gain(int camera) {
  std::array<double, kGains> gains{};
  if (CameraGetWBGain(camera, &gains[0], &gains[1], &gains[2]) != 0) return std::nullopt;
  return gains[kChannel];
}

/// Leaves the other two as they are, unless a measurement made them larger than can be set.
template <int kChannel>
uint32_t write_wb_gain(int camera, double gain) {
  constexpr double kMostGain = 3.0;
  std::array<double, kGains> gains{};
  const uint32_t status = CameraGetWBGain(camera, &gains[0], &gains[1], &gains[2]);
  if (status != 0) return status;
  gains[kChannel] = gain;
  for (double& each : gains) each = std::min(each, kMostGain);
  return CameraSetWBGain(camera, gains[0], gains[1], gains[2]);
}

template <int kChannel>
Control wb_gain(std::string_view name) {
  return {name, "", 0, 3, false, {}, read_wb_gain<kChannel>, write_wb_gain<kChannel>, 1.0, 0.01};
}

/// The interface does not tell whether the picture is turned, but its size does, unless it is square.
std::optional<double> read_rotation(int camera) {
  Size sensor;
  Size picture;
  if (CameraGetResolutionMax(camera, &sensor.width, &sensor.height) != 0) return std::nullopt;
  if (CameraGetResolution(camera, 0, &picture.width, &picture.height) != 0) return std::nullopt;
  if (sensor.width == sensor.height) return std::nullopt;
  return (sensor.width > sensor.height) != (picture.width > picture.height) ? 1 : 0;
}

uint32_t write_rotation(int camera, double on) {
  const auto now = read_rotation(camera);
  if (now == on) return 0;
  return CameraSetRotate(camera, 90);
}

constexpr int kMost = 1'000'000'000;

// A setting that acts on what another one means comes before it: the file of a camera's settings has
// this order, and they are written in it.
const std::vector<Control>& table() {
  static const std::vector<Control> controls = {
      {"exposure-ms", "ms", 0.0, 3'600'000, false, {}, read_exposure_ms, write_exposure_ms, {}},
      number<CameraGetExposure, CameraSetExposure>("exposure", "lines", 1, kMost, 5),
      number<CameraGetGain, CameraSetGain>("gain", "", 1, 255, 16),
      number<CameraGetAdvancedGain, CameraSetAdvancedGain>("advanced-gain", "", 0, 255, 0),
      on_off<CameraGetAEC, CameraSetAEC>("auto-exposure", false),
      on_off<CameraGetAGC, CameraSetAGC>("auto-gain", false),
      number<CameraGetAETarget, CameraSetAETarget>("target", "levels", 0, 255, 70),
      {"anti-flicker",
       "",
       0,
       2,
       true,
       {"off", "50hz", "60hz"},
       read_anti_flicker,
       write<int, CameraSetAntiFlicker>,
       0},
      {"frame-rate", "fps", 0.1, 6553.5, false, {}, read_frame_rate, write_frame_rate, 10, 0.1},
      {"fixed-rate", "", 0, 1, true, {"off", "on"}, read_fixed_rate, write_fixed_rate, 0},
      on_off<CameraGetHighspeed, CameraSetHighspeed>("high-speed", false),
      on_off<CameraGetGlobalReset, CameraSetGlobalReset>("global-reset", false),
      number<CameraGetDelay, CameraSetDelay>("delay", "lines", 0, kMost, 0),
      {"trigger", "", 0, 1, true, {"off", "on"}, read_trigger, write_trigger, 0},
      number<CameraGetSnapNum, CameraSetSnapNum>("trigger-frames", "frames", 0, 65535, 1),
      words<bool, CameraGetTriggerPolarity, CameraSetTriggerPolarity>("trigger-polarity", {"low", "high"}, 1),
      number<CameraGetTriggerDelay, CameraSetTriggerDelay>("trigger-delay", "", 0, kMost, 0, 10),
      number<CameraGetDebouncerTime, CameraSetDebouncerTime>("debouncer", "", 0, kMost, 0),
      on_off<CameraGetStrobe, CameraEnableStrobe>("strobe", true),
      words<int, CameraGetStrobePolarity, CameraSetStrobePolarity>("strobe-polarity", {"low", "high"}, 1),
      number<CameraGetStrobeDelay, CameraSetStrobeDelay>("strobe-delay", "", 0, kMost, 0, 10),
      number<CameraGetStrobeDuration, CameraSetStrobeDuration>("strobe-duration", "", 0, kMost, 0, 10),
      number<CameraGetTimeout, CameraSetTimeout>("timeout", "ms", 500, 50'000, 500),
      number<CameraGetLineHeight, CameraSetLineHeight>("line-height", "lines", 1, 65535, 2),
      words<int, CameraGetLineTrigger, CameraSetLineTrigger>("line-trigger", {"off", "on"}, 0),
      number<CameraGetResolutionMode, CameraSetResolutionMode>("readout-mode", "", 0, 255, 1),
      on_off<CameraGetDenoise, CameraSetDenoise>("denoise", true),
      on_off<CameraGetFPN, CameraSetFPN>("fixed-pattern", false),
      on_off<CameraGetAWB, CameraSetAWB>("auto-white-balance", false),
      wb_gain<0>("wb-red"),
      wb_gain<1>("wb-green"),
      wb_gain<2>("wb-blue"),
      number<CameraGetBlackLevel, CameraSetBlackLevel>("black-level", "levels", 0, 255, 0),
      real<CameraGetGamma, CameraSetGamma>("gamma", 0.3, 2.0),
      real<CameraGetContrast, CameraSetContrast>("contrast", 0.3, 2.0),
      real<CameraGetSaturation, CameraSetSaturation>("saturation", 0.0, 2.0),
      on_off<CameraGetEnhancement, CameraSetEnhancement>("enhancement", false),
      number<CameraGetInterpolation, CameraSetInterpolation>("interpolation", "", 0, 255, 0),
      on_off<CameraGetMirrorX, CameraSetMirrorX>("mirror-x", false),
      on_off<CameraGetMirrorY, CameraSetMirrorY>("mirror-y", false),
      {"rotate-90", "", 0, 1, true, {"off", "on"}, read_rotation, write_rotation, 0},
  };
  return controls;
}

[[noreturn]] void refuse(const Control& control, const std::string& text) {
  throw Error(ExitCode::kUsage,
              fmt::format("{} is no value of {}", text.empty() ? "nothing" : text, control.name),
              fmt::format("Give {}.", range_text(control)));
}

}  // namespace

std::span<const Control> all_controls() {
  return table();
}

const Control& find_control(std::string_view name) {
  const auto found = std::ranges::find(table(), name, &Control::name);
  if (found != table().end()) return *found;
  std::vector<std::string_view> names;
  for (const Control& control : table()) names.push_back(control.name);
  throw Error(ExitCode::kUsage, fmt::format("there is no control {}", name),
              fmt::format("There are: {}.", fmt::join(names, ", ")));
}

double parse_value(const Control& control, const std::string& text) try {
  if (const auto word = std::ranges::find(control.choices, text); word != control.choices.end()) {
    return static_cast<double>(word - control.choices.begin());
  }
  size_t read = 0;
  const double value = std::stod(text, &read);
  const bool fits = value >= control.minimum && value <= control.maximum;
  if (read != text.size() || !fits || (control.whole && value != std::trunc(value))) refuse(control, text);
  return value;
} catch (const std::logic_error&) {  // of stod: no number, or one that no double holds
  refuse(control, text);
}

std::string value_text(const Control& control, double value) {
  const auto i = static_cast<size_t>(value);
  if (value >= 0 && i < control.choices.size()) return std::string(control.choices[i]);
  return control.whole ? fmt::format("{:.0f}", value) : fmt::format("{:.7g}", value);
}

std::string range_text(const Control& control) {
  if (!control.choices.empty()) return fmt::format("{}", fmt::join(control.choices, "|"));
  return value_text(control, control.minimum) + ".." + value_text(control, control.maximum);
}

double read_control(const OpenCamera& camera, const Control& control) {
  const auto value = control.get(camera.index());
  if (!value) camera.require(fmt::format("reading {}", control.name), 1);
  return value.value();
}

void write_control(const OpenCamera& camera, const Control& control, double value) {
  camera.require(fmt::format("setting {}", control.name), control.set(camera.index(), value));
}

}  // namespace kxcam
