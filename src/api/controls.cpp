// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

#include "api/extra_boundary.h"
#include "core/acquisition/orientation.h"

namespace kxcam {
namespace {

struct Control {
  const char* name;
  const char* unit;
  const char* group;
  const char* description;
  double minimum;
  double maximum;
  double step;     ///< 1 and more: whole numbers only; 0: any number
  double neutral;  ///< not a number: only another view of one further on
  const char* const* choices;

  /// Value of the camera at that index; nothing when it does not offer the control.
  std::optional<double> (*get)(int camera);
  /// Status as of the exported functions.
  uint32_t (*set)(int camera, double value);
};

template <class Value, auto kGet>
std::optional<double> get(int camera) {
  Value value{};
  if (kGet(camera, &value) != 0) return std::nullopt;
  return static_cast<double>(value);
}

template <class Value, auto kSet>
uint32_t set(int camera, double value) {
  return kSet(camera, static_cast<Value>(value));
}

std::optional<double> line_ms(int camera) {
  double unit = 0;
  if (CameraGetExposureUnit(camera, &unit) != 0 || !(unit > 0)) return std::nullopt;
  return unit;
}

std::optional<double> get_exposure_ms(int camera) {
  if (!line_ms(camera)) return std::nullopt;
  return get<double, CameraGetExposureTime>(camera);
}

/// The nearest whole number of lines. On some sensors the line depends on the exposure, so that the first
/// try may miss.
uint32_t set_exposure_ms(int camera, double ms) {
  uint32_t status = 1;
  for (int tries = 0; tries < 2; ++tries) {
    const auto unit = line_ms(camera);
    if (!unit) return 1;
    status = CameraSetExposure(camera, static_cast<int>(std::clamp(std::round(ms / *unit), 1.0, 1e9)));
  }
  return status;
}

/// The library reports "off" as a failure.
std::optional<double> get_anti_flicker(int camera) {
  return get<int, CameraGetAntiFlicker>(camera).value_or(0);
}

struct FrameRate {
  bool fixed = false;
  double fps = 0;
};

std::optional<FrameRate> frame_rate(int camera) {
  FrameRate rate;
  if (CameraGetFrameRate(camera, &rate.fixed, &rate.fps) != 0) return std::nullopt;
  return rate;
}

std::optional<double> get_frame_rate(int camera) {
  const auto rate = frame_rate(camera);
  return rate ? std::optional(rate->fps) : std::nullopt;
}

uint32_t set_frame_rate(int camera, double fps) {
  return CameraSetFrameRate(camera, true, fps);
}

std::optional<double> get_fixed_rate(int camera) {
  const auto rate = frame_rate(camera);
  return rate ? std::optional(rate->fixed ? 1.0 : 0.0) : std::nullopt;
}

uint32_t set_fixed_rate(int camera, double fixed) {
  const auto rate = frame_rate(camera);
  return rate ? CameraSetFrameRate(camera, fixed != 0, rate->fps) : 1;
}

constexpr int kFreeRun = 1;
constexpr int kTriggered = 2;

std::optional<double> get_trigger(int camera) {
  const auto mode = get<int, CameraGetSnapMode>(camera);
  if (!mode) return std::nullopt;
  return *mode == kTriggered ? 1 : 0;
}

uint32_t set_trigger(int camera, double on) {
  return CameraSetSnapMode(camera, on != 0 ? kTriggered : kFreeRun);
}

constexpr double kMostWbGain = 3.0;
using WbGains = std::array<double, 3>;

template <int kChannel>
std::optional<double> get_wb_gain(int camera) {
  WbGains gains{};
  if (CameraGetWBGain(camera, &gains[0], &gains[1], &gains[2]) != 0) return std::nullopt;
  return gains[kChannel];
}

/// Leaves the other two as they are, unless a measurement made them larger than can be set.
template <int kChannel>
uint32_t set_wb_gain(int camera, double gain) {
  WbGains gains{};
  const uint32_t status = CameraGetWBGain(camera, &gains[0], &gains[1], &gains[2]);
  if (status != 0) return status;
  gains[kChannel] = gain;
  for (double& each : gains) each = std::min(each, kMostWbGain);
  return CameraSetWBGain(camera, gains[0], gains[1], gains[2]);
}

std::optional<double> get_rotation(int camera) {
  int on = 0;
  if (api::get(camera, &on, get_rotate) != api::kSuccess) return std::nullopt;
  return on;
}

uint32_t set_rotation(int camera, double on) {
  return get_rotation(camera) == on ? 0 : CameraSetRotate(camera, 90);
}

constexpr double kView = std::numeric_limits<double>::quiet_NaN();
constexpr double kMost = 1e9;
constexpr const char* kOffOn[] = {"off", "on", nullptr};
constexpr const char* kLowHigh[] = {"low", "high", nullptr};
constexpr const char* kMains[] = {"off", "50hz", "60hz", nullptr};

// clang-format off
constexpr Control kTable[] = {
    {"exposure-ms", "ms", "exposure", "exposure time; the camera takes the nearest whole number of lines",
     0, 3'600'000, 0, kView, nullptr, get_exposure_ms, set_exposure_ms},
    {"exposure", "lines", "exposure", "exposure time in sensor lines",
     1, kMost, 1, 5, nullptr, get<int, CameraGetExposure>, set<int, CameraSetExposure>},
    {"gain", "", "exposure", "gain of the sensor; the meaning of a step depends on the model",
     1, 255, 1, 16, nullptr, get<int, CameraGetGain>, set<int, CameraSetGain>},
    {"advanced-gain", "", "exposure", "coarse gain range of the sensor, on models that have one",
     0, 255, 1, 0, nullptr, get<int, CameraGetAdvancedGain>, set<int, CameraSetAdvancedGain>},
    {"auto-exposure", "", "exposure", "adjust the exposure until the picture has the target brightness",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetAEC>, set<bool, CameraSetAEC>},
    {"auto-gain", "", "exposure", "adjust the gain until the picture has the target brightness",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetAGC>, set<bool, CameraSetAGC>},
    {"target", "levels", "exposure", "mean brightness that automatic exposure and gain aim at",
     0, 255, 1, 70, nullptr, get<int, CameraGetAETarget>, set<int, CameraSetAETarget>},
    {"anti-flicker", "", "exposure", "automatic exposures in whole half-periods of the mains",
     0, 2, 1, 0, kMains, get_anti_flicker, set<int, CameraSetAntiFlicker>},
    {"frame-rate", "fps", "timing", "frame rate while it is fixed; setting it fixes it",
     0.1, 6553.5, 0.1, 10, nullptr, get_frame_rate, set_frame_rate},
    {"fixed-rate", "", "timing", "keep to the frame rate instead of running as fast as possible",
     0, 1, 1, 0, kOffOn, get_fixed_rate, set_fixed_rate},
    {"high-speed", "", "timing", "faster sensor clock, on models that have one",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetHighspeed>, set<bool, CameraSetHighspeed>},
    {"global-reset", "", "timing", "let all rows start exposing together",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetGlobalReset>, set<bool, CameraSetGlobalReset>},
    {"delay", "lines", "timing", "extra vertical blanking, which lengthens every frame",
     0, kMost, 1, 0, nullptr, get<int, CameraGetDelay>, set<int, CameraSetDelay>},
    {"trigger", "", "trigger", "one picture per trigger instead of free run",
     0, 1, 1, 0, kOffOn, get_trigger, set_trigger},
    {"trigger-frames", "frames", "trigger", "pictures per trigger (lines on line-scan models)",
     0, 65535, 1, 1, nullptr, get<int, CameraGetSnapNum>, set<int, CameraSetSnapNum>},
    {"trigger-polarity", "", "trigger", "active level of the trigger input",
     0, 1, 1, 1, kLowHigh, get<bool, CameraGetTriggerPolarity>, set<int, CameraSetTriggerPolarity>},
    {"trigger-delay", "", "trigger", "delay from trigger to exposure, in units of the camera",
     0, kMost, 10, 0, nullptr, get<int, CameraGetTriggerDelay>, set<int, CameraSetTriggerDelay>},
    {"debouncer", "", "trigger", "time for which the trigger input must be steady",
     0, kMost, 1, 0, nullptr, get<int, CameraGetDebouncerTime>, set<int, CameraSetDebouncerTime>},
    {"strobe", "", "strobe", "strobe output",
     0, 1, 1, 1, kOffOn, get<bool, CameraGetStrobe>, set<bool, CameraEnableStrobe>},
    {"strobe-polarity", "", "strobe", "active level of the strobe output",
     0, 1, 1, 1, kLowHigh, get<int, CameraGetStrobePolarity>, set<int, CameraSetStrobePolarity>},
    {"strobe-delay", "", "strobe", "delay from exposure to strobe, in units of the camera",
     0, kMost, 10, 0, nullptr, get<int, CameraGetStrobeDelay>, set<int, CameraSetStrobeDelay>},
    {"strobe-duration", "", "strobe", "duration of the strobe, in units of the camera",
     0, kMost, 10, 0, nullptr, get<int, CameraGetStrobeDuration>, set<int, CameraSetStrobeDuration>},
    {"timeout", "ms", "readout", "least time a program waits for a frame",
     500, 50'000, 1, 500, nullptr, get<int, CameraGetTimeout>, set<int, CameraSetTimeout>},
    {"line-height", "lines", "readout", "lines per frame of a line-scan camera",
     1, 65535, 1, 2, nullptr, get<int, CameraGetLineHeight>, set<int, CameraSetLineHeight>},
    {"line-trigger", "", "readout", "trigger for each line of a line-scan camera",
     0, 1, 1, 0, kOffOn, get<int, CameraGetLineTrigger>, set<int, CameraSetLineTrigger>},
    {"readout-mode", "", "readout", "readout mode of the sensor, on models that have several",
     0, 255, 1, 1, nullptr, get<int, CameraGetResolutionMode>, set<int, CameraSetResolutionMode>},
    {"denoise", "", "correction", "remove single bright pixels",
     0, 1, 1, 1, kOffOn, get<bool, CameraGetDenoise>, set<bool, CameraSetDenoise>},
    {"fixed-pattern", "", "correction", "even out the fixed pattern of rows and columns",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetFPN>, set<bool, CameraSetFPN>},
    {"auto-white-balance", "", "white balance", "measure the white balance again whenever the scene changes",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetAWB>, set<bool, CameraSetAWB>},
    {"wb-red", "", "white balance", "white-balance gain of red",
     0, kMostWbGain, 0.01, 1, nullptr, get_wb_gain<0>, set_wb_gain<0>},
    {"wb-green", "", "white balance", "white-balance gain of green",
     0, kMostWbGain, 0.01, 1, nullptr, get_wb_gain<1>, set_wb_gain<1>},
    {"wb-blue", "", "white balance", "white-balance gain of blue",
     0, kMostWbGain, 0.01, 1, nullptr, get_wb_gain<2>, set_wb_gain<2>},
    {"black-level", "levels", "tone", "level that becomes black",
     0, 255, 1, 0, nullptr, get<int, CameraGetBlackLevel>, set<int, CameraSetBlackLevel>},
    {"gamma", "", "tone", "gamma; more than 1 brightens the shadows",
     0.3, 2, 0.01, 1, nullptr, get<double, CameraGetGamma>, set<double, CameraSetGamma>},
    {"contrast", "", "tone", "contrast around the middle of the range",
     0.3, 2, 0.01, 1, nullptr, get<double, CameraGetContrast>, set<double, CameraSetContrast>},
    {"saturation", "", "tone", "colour saturation; 0 is grey",
     0, 2, 0.01, 1, nullptr, get<double, CameraGetSaturation>, set<double, CameraSetSaturation>},
    {"enhancement", "", "tone", "use the camera's own colour matrix",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetEnhancement>, set<bool, CameraSetEnhancement>},
    {"interpolation", "", "tone", "stored for other programs; colours are always interpolated bilinearly",
     0, 255, 1, 0, nullptr, get<int, CameraGetInterpolation>, set<int, CameraSetInterpolation>},
    {"mirror-x", "", "geometry", "mirror left to right",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetMirrorX>, set<bool, CameraSetMirrorX>},
    {"mirror-y", "", "geometry", "mirror top to bottom",
     0, 1, 1, 0, kOffOn, get<bool, CameraGetMirrorY>, set<bool, CameraSetMirrorY>},
    {"rotate-90", "", "geometry", "rotate 90 degrees clockwise",
     0, 1, 1, 0, kOffOn, get_rotation, set_rotation},
};
// clang-format on

static_assert(std::size(kTable) <= 64, "one bit each in kxcam_description");

const Control* find_control(const char* name) {
  const auto* found = std::ranges::find(kTable, std::string_view(name), &Control::name);
  return found == std::end(kTable) ? nullptr : found;
}

kxcam_control description_of(const Control& control) {
  const bool whole = control.step >= 1;
  const bool view = std::isnan(control.neutral);
  return {.name = control.name,
          .unit = control.unit,
          .group = control.group,
          .description = control.description,
          .minimum = control.minimum,
          .maximum = control.maximum,
          .step = control.step,
          .neutral = control.neutral,
          .choices = control.choices,
          .flags = (whole ? unsigned{KXCAM_CONTROL_WHOLE} : 0U) | (view ? unsigned{KXCAM_CONTROL_VIEW} : 0U),
          .reserved = 0};
}

bool in_range(const Control& control, double value) {
  return value >= control.minimum && value <= control.maximum &&
         (control.step < 1 || value == std::trunc(value));
}

/// Fails; a function that gave no code did so because the camera has no such thing.
bool fail_of_camera() {
  const int code = thread_error();
  return code > 0 ? false : fail(KXCAM_ERROR_NOT_SUPPORTED);
}

}  // namespace

uint64_t api::offered_controls(int camera) {
  uint64_t offered = 0;
  for (size_t i = 0; i < std::size(kTable); ++i) {
    if (kTable[i].get(camera)) offered |= uint64_t{1} << i;
  }
  return offered;
}

}  // namespace kxcam

using namespace kxcam;

int kxcam_get_control(int number, kxcam_control* control, size_t size) {
  return api::cause_of([&] {
    const bool exists = number >= 0 && static_cast<size_t>(number) < std::size(kTable);
    if (!exists || control == nullptr) return fail(KXCAM_ERROR_ARGUMENT);
    api::hand_out(description_of(kTable[number]), control, size);
    return true;
  });
}

int kxcam_get(int camera, const char* control, double* value) {
  const Control* found = control == nullptr ? nullptr : find_control(control);
  return api::cause_with_camera(camera, found != nullptr && value != nullptr, [&](CameraContext&) {
    const std::optional<double> read = found->get(camera);
    if (!read) return fail_of_camera();
    *value = *read;
    return true;
  });
}

int kxcam_set(int camera, const char* control, double value) {
  const Control* found = control == nullptr ? nullptr : find_control(control);
  return api::cause_with_camera(camera, found != nullptr && in_range(*found, value), [&](CameraContext&) {
    return found->set(camera, value) == api::kSuccess || fail_of_camera();
  });
}
