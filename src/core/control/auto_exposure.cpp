// SPDX-License-Identifier: Apache-2.0
#include "core/control/auto_exposure.h"

#include <algorithm>
#include <cstdlib>

#include "core/control/registers.h"
#include "core/registry/camera_context.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

namespace kxcam {

bool bridge_has_loop(const CameraContext& camera) {
  return camera.family.bridge_auto_exposure || (camera.device.feature_bits & kBridgeAutoExposure) != 0;
}

namespace {

constexpr uint32_t kLastVersionWithoutAutoExposure = 0x103;
constexpr uint32_t kControl50Hz = 0x10;
constexpr uint32_t kControl60Hz = 0x20;
constexpr int kTargetFractionBits = 4;
constexpr int kHighestTarget = 255;

uint32_t mains_bit(uint16_t isp_flags) {
  if ((isp_flags & kAntiFlicker50Hz) != 0) return kControl50Hz;
  return (isp_flags & kAntiFlicker60Hz) != 0 ? kControl60Hz : 0;
}

/// Only one of the two loops may move the exposure.
void switch_bridge_loop(CameraContext& camera, bool on) {
  const std::optional<uint32_t> version = isp_read(camera, bridge::kVersion);
  if (!version || *version <= kLastVersionWithoutAutoExposure) return;
  isp_write(camera, bridge::kAutoExposureControl, (on ? 1U : 0U) | mains_bit(camera.parameter.isp_flags));
  camera.parameter.isp_flags.set_bits(kSoftwareExposureAllowed, !on);
}

/// Lets a few frames of the old setting pass before the loop's next run.
void postpone_next_run(CameraContext& camera) {
  const auto frames = static_cast<int32_t>(camera.stream.frames_delivered.load());
  camera.stream.frames_delivered = static_cast<uint32_t>(frames / 4 + 2);
}

bool has_flag(const CameraContext& camera, uint16_t flag) {
  return (camera.parameter.isp_flags & flag) != 0;
}

constexpr uint32_t kFramesPerRun = 4;
constexpr int32_t kDeadBand = 5;
constexpr int32_t kDeadBandAntiFlicker = 30;
constexpr int32_t kAnswer = 2;  ///< change of the mean level that counts as an answer to a step
constexpr int32_t kLargestStep = 4000;
constexpr int64_t kLongestExposure = 4000;
constexpr double kHighestGain = 64.0;

/// The settings of one run, read once so that a setter in another thread does not change them half-way.
struct Loop {
  uint16_t flags;
  int32_t exposure;
  int32_t gain;
  int32_t flicker_lines;  ///< 0 while it is not known

  bool has(uint16_t flag) const { return (flags & flag) != 0; }
  bool anti_flicker() const { return has(kAntiFlicker50Hz | kAntiFlicker60Hz); }
};

Loop read_settings(const CameraContext& camera) {
  const CameraParameter& parameter = camera.parameter;
  return {.flags = parameter.isp_flags,
          .exposure = parameter.exposure,
          .gain = parameter.gain,
          .flicker_lines = std::max<int32_t>(camera.sensor.flicker_lines, 0)};
}

bool answered(int32_t last_step, int32_t last_average, int32_t average) {
  return last_step > 0 ? average > last_average + kAnswer : average < last_average - kAnswer;
}

/// Lines by which the exposure misses the target. A black picture says nothing about the ratio, so
/// there the error itself is the factor.
int32_t exposure_step(CameraContext& camera, int32_t average, int32_t error, int32_t exposure) {
  const bool black = average < 1;
  if (black) camera.picture.mean_level = 1;
  camera.sensor.ae_last_avg = black ? 1 : average;
  const double ratio = black ? error : static_cast<double>(error) / average;
  return static_cast<int32_t>(std::clamp(ratio * exposure, -double{kLargestStep}, double{kLargestStep}));
}

/// The exposure `wanted` in whole half-periods of the mains, at least one. Between one and two half-periods
/// rounding alone would swing to and fro, so these two have thresholds of their own.
int64_t whole_half_periods(const Loop& loop, int64_t wanted, int32_t step) {
  const int64_t period = loop.flicker_lines;
  const double rounding = step < 1 ? 0.3 : 0.7;
  const auto periods =
      static_cast<int64_t>(static_cast<double>(wanted) / static_cast<double>(period) + rounding);
  if (loop.exposure == period && step >= period / 4) return 2 * period;
  if (loop.exposure == 2 * period && step <= -(period / 2)) return period;
  return std::max(period, periods * period);
}

/// A gain in proportion to the exposure's share of a frame, which moves in the direction of the step only.
int32_t gain_for(const Loop& loop, int64_t wanted, int32_t step, int32_t frame_height) {
  const double frame = std::max(loop.flicker_lines + frame_height, 1);
  const double gain = static_cast<double>(wanted) / frame * 28 + 4;
  const auto limited = static_cast<int32_t>(std::clamp(gain, 1.0, kHighestGain));
  return step < 1 ? std::min(limited, loop.gain) : std::max(limited, loop.gain);
}

bool change_gain(CameraContext& camera, const Loop& loop, int64_t wanted, int32_t step) {
  const FrameGeometry geometry = camera.stream.geometry;
  const int32_t gain = gain_for(loop, wanted, step, geometry.frame_height);
  if (gain == loop.gain) return true;
  camera.parameter.gain = gain;
  const auto write = camera.family.write_loop_gain;
  return write == nullptr || write(camera, gain);
}

bool change_exposure(CameraContext& camera, const Loop& loop, int64_t wanted, int32_t step) {
  const bool quantised = loop.anti_flicker() && loop.flicker_lines > 0;
  const int64_t lines = quantised ? whole_half_periods(loop, wanted, step) : wanted;
  const auto exposure = static_cast<int32_t>(std::clamp<int64_t>(lines, 1, kLongestExposure));
  if (exposure == loop.exposure) return true;
  camera.parameter.exposure = exposure;
  const auto write = camera.family.write_loop_exposure;
  return write == nullptr || write(camera, exposure);
}

bool take_step(CameraContext& camera, const Loop& loop, int32_t step) {
  const int64_t wanted = int64_t{loop.exposure} + step;
  const bool gain_done = !loop.has(kAutoGain) || change_gain(camera, loop, wanted, step);
  const bool exposes = loop.has(kAutoExposure) && loop.has(kSoftwareExposureAllowed);
  const bool exposure_done = !exposes || change_exposure(camera, loop, wanted, step);
  return gain_done && exposure_done;
}

}  // namespace

bool set_aec(CameraContext& camera, bool on) {
  if (bridge_has_loop(camera)) switch_bridge_loop(camera, on);
  postpone_next_run(camera);
  camera.parameter.isp_flags.set_bits(kAutoExposure, on);
  return true;
}

int get_aec(const CameraContext& camera) {
  return has_flag(camera, kAutoExposure) ? 1 : 0;
}

bool set_agc(CameraContext& camera, bool on) {
  if (const auto prepare = camera.family.prepare_auto_gain) prepare(camera);
  postpone_next_run(camera);
  camera.parameter.isp_flags.set_bits(kAutoGain, on);
  return true;
}

int get_agc(const CameraContext& camera) {
  return has_flag(camera, kAutoGain) ? 1 : 0;
}

bool is_ae_target(int level) {
  return level >= 0 && level <= kHighestTarget;
}

bool set_ae_target(CameraContext& camera, int level) {
  if (!is_ae_target(level)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.parameter.ae_target = level;
  return !bridge_has_loop(camera) ||
         isp_write(camera, bridge::kAutoExposureTarget, static_cast<uint32_t>(level) << kTargetFractionBits);
}

int get_ae_target(const CameraContext& camera) {
  return std::max(camera.parameter.ae_target.load(), 0);
}

int get_avg(const CameraContext& camera) {
  return std::max(camera.picture.mean_level.load(), 0);
}

bool set_anti_flicker(CameraContext& camera, int mode) {
  camera.parameter.isp_flags.set_bits(kAntiFlicker50Hz, mode == 1);
  camera.parameter.isp_flags.set_bits(kAntiFlicker60Hz, mode == 2);
  return true;
}

int get_anti_flicker(const CameraContext& camera) {
  if (has_flag(camera, kAntiFlicker50Hz)) return 1;
  return has_flag(camera, kAntiFlicker60Hz) ? 2 : 0;
}

bool AutoExposure(CameraContext& camera) {
  const Loop loop = read_settings(camera);
  if (!loop.has(kAutoGain | kAutoExposure) || camera.stream.frames_delivered % kFramesPerRun != 0)
    return true;

  const int32_t average = camera.picture.mean_level;
  const int32_t error = camera.parameter.ae_target - average;
  const int32_t last_step = camera.sensor.ae_last_step;
  camera.sensor.ae_last_step = 0;
  if (std::abs(error) <= (loop.anti_flicker() ? kDeadBandAntiFlicker : kDeadBand)) return true;
  if (last_step != 0 && !answered(last_step, camera.sensor.ae_last_avg, average)) return true;

  const int32_t step = exposure_step(camera, average, error, loop.exposure);
  if (step == 0) return true;
  const bool written = take_step(camera, loop, step);
  camera.sensor.ae_last_step = step;
  return written;
}

}  // namespace kxcam
