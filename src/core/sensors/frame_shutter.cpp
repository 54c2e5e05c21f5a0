// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "core/control/exposure.h"
#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
#include "usb/bridge.h"

// Sensors whose shutter register counts the lines of the frame before the exposure begins. The bridge keeps
// the length of the frame, which grows where the exposure needs more.

namespace kxcam {

namespace {

/// Lines of a frame as the bridge has them, or `fallback` when it does not answer.
int64_t bridge_frame_length(CameraContext& camera, int64_t fallback) {
  const std::optional<uint32_t> present = isp_read(camera, bridge::kPresentFrameLength);
  return present ? int64_t{*present} : fallback;
}

/// Lines of a frame that the settings ask for: what the fixed frame rate leaves time for, or else the
/// sensor's own `free_running` length and the delay. A frame rate below 0.1 is raised to that, for good.
int64_t wanted_frame_length(CameraContext& camera, int64_t free_running, double lines_per_second) {
  constexpr double kLowestFrameRate = 0.1;
  CameraParameter& parameter = camera.parameter;
  if ((parameter.isp_flags & kFrameRateFree) != 0) return free_running + parameter.delay;
  const double frame_rate = std::max<double>(parameter.frame_rate, kLowestFrameRate);
  parameter.frame_rate = frame_rate;
  return static_cast<int64_t>(lines_per_second / frame_rate);
}

/// Tells the bridge the length of the frames to come.
void write_frame_length(CameraContext& camera, int64_t lines) {
  isp_write(camera, bridge::kFrameLengthLow, static_cast<uint32_t>(lines));
  isp_write(camera, bridge::kFrameLengthHigh, static_cast<uint32_t>(lines >> 16));
}

/// The sensor needs a millisecond to follow. The bridge's answer does not matter.
bool switch_trigger(CameraContext& camera, bool triggered) {
  request_trigger_mode(camera, triggered);
  sysdelay(1);
  return true;
}

namespace sensor_0860 {

constexpr uint32_t kMids[] = {0x0860, 0x086B};

enum SensorRegister : uint32_t {
  kHold = 0x3007,
  kConversionGain = 0x301B,
  kAnalogueGain = 0x301F,
  kShutterLow = 0x3034,
  kShutterMiddle = 0x3035,
  kShutterHigh = 0x3036,
};

/// Flicker counting takes whole clocks, the line time does not.
std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  constexpr double kClockMs = 2.3148148148148147e-5;
  constexpr double kFlickerClockHz = 2.16e7;
  constexpr int32_t kFixedClocks = 336;
  constexpr int32_t kSharedClocks = 121;  // spread over the lines of the exposure
  const int32_t e = std::max<int32_t>(camera.parameter.exposure, 1);
  const double clocks = static_cast<double>(kSharedClocks) / e + kFixedClocks;
  const int32_t whole_clocks = kSharedClocks / e + kFixedClocks;
  return LineTiming{.line_time_ms = clocks * kClockMs,
                    .flicker_lines = lines_per_half_period(camera, kFlickerClockHz, whole_clocks)};
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  constexpr int64_t kUsualFrameLength = 2227;
  constexpr double kLinesPerSecond = 128571.06122553935;
  const int64_t length =
      wanted_frame_length(camera, bridge_frame_length(camera, kUsualFrameLength), kLinesPerSecond);
  const int64_t shutter = std::max<int64_t>(length - lines, 0);
  write_frame_length(camera, std::max<int64_t>(length, lines));
  const bool written = sccb_write_all(camera, {{kHold, 1},
                                               {kShutterLow, byte_of(shutter, 0)},
                                               {kShutterMiddle, byte_of(shutter, 1)},
                                               {kShutterHigh, byte_of(shutter, 2)}});
  sccb_write(camera, kHold, 0);
  set_exposure_width(camera, 0, 0);
  return written;
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return write_value<kAnalogueGain>(camera, gain - 1);
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  constexpr uint32_t kHighConversion = 30;
  sccb_write(camera, kConversionGain, level != 0 ? kHighConversion : 0);
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0860

/// What 0x0910 and 0x0920 share.
namespace sensor_09x0 {

enum SensorRegister : uint32_t {
  kGlobalResetSwitch = 0x08,
  kGainLow = 0x09,
  kGainHigh = 0x0A,
  kShutterLow = 0x0B,
  kShutterHigh = 0x0C,
  kConversionGain = 0x11,
  kConversionBias = 0x45,
  kClampLow = 0x0352,
  kClampHigh = 0x0353,
};

/// A line lasts `fixed` clocks, and `shared` clocks are spread over the lines of the exposure.
LineTiming exposure_dependent_line(const CameraContext& camera, double shared, double fixed) {
  constexpr double kClockMs = 1.736111111111111e-5;
  constexpr double kFlickerClockHz = 2.88e7;
  const double clocks = shared / std::max<int32_t>(camera.parameter.exposure, 1) + fixed;
  return {.line_time_ms = clocks * kClockMs,
          .flicker_lines = lines_per_half_period(camera, kFlickerClockHz, clocks)};
}

/// The loop moves through the lower part of the range in coarse steps.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  constexpr int32_t kHighestGain = 32;
  constexpr int32_t kCodesPerStep = 24;
  const int32_t code = (std::min(gain, kHighestGain) - 1) * kCodesPerStep;
  return sccb_write_all(camera, {{kGainLow, byte_of(code, 0) & 0xF8}, {kGainHigh, byte_of(code, 1)}});
}

constexpr int64_t kLeastShutter = 8;

}  // namespace sensor_09x0

namespace sensor_0910 {

using namespace sensor_09x0;

constexpr uint32_t kMids[] = {0x0910, 0x091B};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return exposure_dependent_line(camera, 119.2, 584.0);
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  constexpr int64_t kUsualFrameLength = 3500;
  constexpr double kLinesPerSecond = 98629.05611993294;
  constexpr int64_t kReadoutLines = 3;
  const int64_t length = std::max(wanted_frame_length(camera, kUsualFrameLength, kLinesPerSecond),
                                  lines + kReadoutLines + kLeastShutter);
  const int64_t shutter = length - lines - kReadoutLines;
  write_frame_length(camera, length);
  const bool written = sccb_write(camera, kShutterLow, byte_of(shutter, 0));
  sccb_write(camera, kShutterHigh, static_cast<uint32_t>(shutter >> 8));
  set_exposure_width(camera, 0, 0);
  return written;
}

/// The black clamp has a setting of its own for high gains.
bool write_gain(CameraContext& camera, int32_t gain) {
  constexpr int32_t kFirstHighGain = 328;
  const auto code = static_cast<int32_t>((gain - 1) * 6.2);
  const bool low = code < kFirstHighGain;
  const bool written = sccb_write_all(
      camera, {{kGainLow, byte_of(code, 0)}, {kGainHigh, byte_of(code, 1)}, {kClampLow, low ? 30U : 47U}});
  sccb_write(camera, kClampHigh, low ? 29 : 46);
  return written;
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  sccb_write(camera, kConversionGain, static_cast<uint32_t>(std::min(level, 3)));
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0910

namespace sensor_0920 {

using namespace sensor_09x0;

constexpr uint32_t kMids[] = {0x0920, 0x092B};

bool global_reset_off(const CameraContext& camera) {
  return (camera.parameter.isp_flags & kGlobalResetOff) != 0;
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return exposure_dependent_line(camera, 125.6, 720.0);
}

/// Rows that start together leave the rolling shutter nothing to do; the bridge then ends the exposure.
void write_shutter(CameraContext& camera, int64_t shutter) {
  const int64_t rolling = global_reset_off(camera) ? shutter : 0;
  sccb_write_all(camera,
                 {{kShutterLow, byte_of(rolling, 0)}, {kShutterHigh, static_cast<uint32_t>(rolling >> 8)}});
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  constexpr int64_t kUsualFrameLength = 4705;
  constexpr double kLinesPerSecond = 80000.0;
  const int64_t wanted =
      wanted_frame_length(camera, bridge_frame_length(camera, kUsualFrameLength), kLinesPerSecond);
  const int64_t length = std::max(wanted, lines + kLeastShutter - 1);
  const int64_t shutter = length + 1 - lines;
  write_frame_length(camera, length);
  write_shutter(camera, shutter);
  set_exposure_width(camera, 0, 0);
  const int64_t exposed = length - shutter;
  isp_write(camera, bridge::kShutterLow, static_cast<uint32_t>(exposed));
  isp_write(camera, bridge::kShutterHigh, static_cast<uint32_t>(exposed >> 16));
  return true;
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const auto code = static_cast<int32_t>((gain - 1) * 1.78);
  const bool written = sccb_write(camera, kGainLow, byte_of(code, 0));
  sccb_write(camera, kGainHigh, byte_of(code, 1));
  return written;
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  constexpr std::array<uint32_t, 4> kBias = {50, 63, 127, 207};
  const auto range = static_cast<uint32_t>(std::min(level, 3));
  sccb_write_all(camera, {{kConversionGain, range}, {kConversionBias, kBias[range]}});
}

void switch_global_reset(CameraContext& camera, bool on) {
  sccb_write(camera, kGlobalResetSwitch, on ? 1 : 0);
  isp_write(camera, bridge::kGlobalReset, on ? 1 : 0);
  set_exposure(camera, camera.parameter.exposure);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  kxcam::switch_trigger(camera, triggered);
  if (!global_reset_off(camera)) sccb_write(camera, kGlobalResetSwitch, 1);
  return true;
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .trigger_wait_ms = 2,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_global_reset = switch_global_reset,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0920

namespace sensor_3200 {

constexpr uint32_t kMids[] = {0x3200, 0x320B};

enum SensorRegister : uint32_t {
  kGain = 0x3014,
  kShutterLow = 0x3020,
  kShutterHigh = 0x3021,
};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, 0.007384960718294052, 677, 564);
}

struct Shutter {
  int64_t frame_length;
  int64_t first_line;  ///< lines of the frame before the exposure begins
};

Shutter shutter_for(int64_t frame_length, int64_t lines) {
  const int64_t first_line = frame_length - lines - 1;
  if (first_line < 2) return {.frame_length = lines + 2, .first_line = 1};
  return {.frame_length = frame_length, .first_line = first_line};
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  constexpr int64_t kUsualFrameLength = 1128;
  constexpr double kLinesPerSecond = 135409.61408259987;
  const int64_t wanted =
      wanted_frame_length(camera, bridge_frame_length(camera, kUsualFrameLength), kLinesPerSecond);
  const Shutter shutter = shutter_for(wanted, lines);
  write_frame_length(camera, shutter.frame_length);
  const bool written = sccb_write(camera, kShutterLow, byte_of(shutter.first_line, 0));
  sccb_write(camera, kShutterHigh, byte_of(shutter.first_line, 1));
  set_exposure_width(camera, 0, 0);
  return written;
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGain, static_cast<uint32_t>((gain - 1) * 0.4));
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGain, static_cast<uint32_t>((gain - 1) / 4));
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_3200

constexpr SensorFamily kFamilies[] = {sensor_0860::family, sensor_0910::family, sensor_0920::family,
                                      sensor_3200::family};

}  // namespace

extern const SensorGeneration frame_shutter_sensors = kFamilies;

}  // namespace kxcam
