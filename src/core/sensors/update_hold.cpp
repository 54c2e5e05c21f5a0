// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/exposure.h"
#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"

// Sensors that take changes of several registers at once: a bracket of writes to register 0x3800 around them.

namespace kxcam {

namespace {

enum SensorRegister : uint32_t {
  kLineLengthHigh = 0x320C,
  kLineLengthLow = 0x320D,
  kFrameLengthHigh = 0x320E,
  kFrameLengthLow = 0x320F,
  kTriggerMode = 0x3222,
  kTriggerExposureHigh = 0x3230,
  kTriggerExposureLow = 0x3231,
  kClockDivider = 0x36EA,
  kUpdateHold = 0x3800,
  kExposureHigh = 0x3E00,
  kExposureMiddle = 0x3E01,
  kExposureLow = 0x3E02,
  kCoarseDigitalGain = 0x3E06,
  kFineDigitalGain = 0x3E07,
  kCoarseGain = 0x3E08,
  kFineGain = 0x3E09,
};
constexpr RegisterWrite kHoldBegin{kUpdateHold, 0x00};
constexpr RegisterWrite kHoldEnd{kUpdateHold, 0x10};
constexpr RegisterWrite kHoldLaunch{kUpdateHold, 0x60};

constexpr int32_t kLongestExposure = 64000;

/// Capped at what the registers hold.
bool write_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(std::min(lines, kLongestExposure));
  const bool written = sccb_write_all(camera, {kHoldBegin,
                                               {kExposureHigh, e >> 12},
                                               {kExposureMiddle, (e >> 4) & 0xFF},
                                               {kExposureLow, (e << 4) & 0xFF},
                                               kHoldEnd});
  sccb_write_all(camera, {kHoldLaunch, {kTriggerExposureHigh, e >> 8}, {kTriggerExposureLow, e & 0xFF}});
  set_exposure_width(camera, 0, 0);
  return written;
}

bool write_loop_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(lines);
  return sccb_write_all(camera, {kHoldBegin,
                                 {kExposureHigh, 0},
                                 {kExposureMiddle, e >> 4},
                                 {kExposureLow, (e << 4) & 0xFF},
                                 kHoldEnd,
                                 kHoldLaunch});
}

/// The length of the line is the sensor's.
std::optional<LineTiming> read_line_timing(CameraContext& camera, double clock_mhz) {
  const std::optional<int32_t> length = sccb_read_pair(camera, kLineLengthHigh, kLineLengthLow);
  if (!length) return std::nullopt;
  if (*length < 1) return impossible_timing();
  const double line_time_ms = *length / (clock_mhz * 1000);
  return LineTiming{.line_time_ms = line_time_ms,
                    .flicker_lines = lines_per_half_period(camera, 1000, line_time_ms)};
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  sccb_write(camera, kTriggerMode, triggered ? 3 : 1);
  sysdelay(triggered ? 100 : 10);
  pulse_trigger_line(camera);
  return true;
}

namespace sensor_0400 {

constexpr uint32_t kMids[] = {0x0400, 0x040B};

struct GainCode {
  uint32_t coarse;
  uint32_t fine;
};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  constexpr double kPixelClockMhz = 60.75;
  return read_line_timing(camera, kPixelClockMhz);
}

bool write_held(CameraContext& camera, RegisterWrite first, RegisterWrite second) {
  return sccb_write_all(camera, {kHoldBegin, first, second, kHoldEnd, kHoldLaunch});
}

constexpr GainCode gain_code(uint32_t gain) {
  const uint32_t step = gain - 1;
  if (step < 32) return {3, 2 * gain + 62};
  if (step < 64) return {7, gain + 31};
  if (step < 96) return {35, step};
  if (step < 128) return {39, gain - 33};
  if (step < 160) return {47, gain - 65};
  if (step < 192) return {63, gain - 97};
  return {63, 63};
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const GainCode code = gain_code(static_cast<uint32_t>(gain));
  return write_held(camera, {kCoarseGain, code.coarse}, {kFineGain, code.fine});
}

/// The loop stays in the lowest coarse range.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return write_held(camera, {kCoarseGain, 3}, {kFineGain, static_cast<uint32_t>(2 * gain + 64) & 0xFF});
}

constexpr GainCode digital_gain_code(uint32_t level) {
  if (level >= 15) return {15, 128};
  if (level >= 8) return {7, (level + 1) << 4};
  if (level >= 4 && level <= 6) return {3, 31 * level + 35};
  if (level == 2) return {1, 192};
  return {level, 128};
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  const GainCode code = digital_gain_code(static_cast<uint32_t>(level));
  write_held(camera, {kCoarseDigitalGain, code.coarse}, {kFineDigitalGain, code.fine});
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .longest_exposure = kLongestExposure,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_loop_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0400

namespace sensor_0410 {

constexpr uint32_t kMids[] = {0x0410, 0x041B};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  constexpr double kUndividedClockMhz = 675.0;
  const std::optional<uint32_t> divider = sccb_read(camera, kClockDivider);
  if (!divider) return std::nullopt;
  const int32_t divisor = static_cast<int32_t>(*divider & 0x0F) - 1;
  if (divisor < 1) return impossible_timing();
  return read_line_timing(camera, kUndividedClockMhz / divisor);
}

/// One code over both gain registers.
bool write_gain(CameraContext& camera, int32_t gain) {
  const int32_t code = 8 * gain + 40;
  return sccb_write_all(camera, {{kCoarseGain, byte_of(code, 1)}, {kFineGain, byte_of(code, 0)}});
}

/// Lines of a frame without delay.
int32_t least_frame_length(FrameGeometry geometry) {
  const int32_t width = geometry.frame_width;
  const int32_t height = geometry.frame_height;
  if (height == 1520 && width > 2048) return (width - 2048) * 556 / 640 + 1786;
  return height > 1200 ? 1786 : 1658;
}

void write_delay(CameraContext& camera, int32_t lines) {
  const int64_t length = int64_t{least_frame_length(camera.stream.geometry)} + lines;
  sccb_write(camera, kFrameLengthHigh, static_cast<uint32_t>(length >> 8));
  sccb_write(camera, kFrameLengthLow, byte_of(length, 0));
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .longest_exposure = kLongestExposure,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_loop_exposure,
    .write_loop_gain = write_gain,
    .write_delay = write_delay,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0410

constexpr SensorFamily kFamilies[] = {sensor_0400::family, sensor_0410::family};

}  // namespace

extern const SensorGeneration update_hold_sensors = kFamilies;

}  // namespace kxcam
