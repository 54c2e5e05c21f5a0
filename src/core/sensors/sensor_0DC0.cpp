// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0DC0, 0x0DCB};

enum SensorRegister : uint32_t {
  kShutterHigh = 0x0E,
  kShutterLow = 0x0F,
  kGain = 0x15,
  kChannelGain1 = 0x16,
  kChannelGain2 = 0x18,
  kChannelGain3 = 0x1A,
  kChannelGain4 = 0x1C,
  kFrameLengthHigh = 0x1E,
  kFrameLengthLow = 0x1F,
  kLineLengthHigh = 0x20,
  kLineLengthLow = 0x21,
};
constexpr double kPixelClockHz = 9.6e7;
constexpr double kPixelClockMs = 1.0416666666666666e-5;
constexpr int32_t kLeastFrameLength = 3250;
constexpr int32_t kFrameOverhead = 4;
constexpr int32_t kLongestExposure = 65535;
constexpr int32_t kLongestLoopExposure = 4000;
constexpr int32_t kHighestGain = 240;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  const std::optional<int32_t> length = sccb_read_pair(camera, kLineLengthHigh, kLineLengthLow);
  if (!length) return std::nullopt;
  if (*length < 1) return impossible_timing();
  return LineTiming{.line_time_ms = *length * kPixelClockMs,
                    .flicker_lines = lines_per_half_period(camera, kPixelClockHz, *length)};
}

struct Shutter {
  int32_t lines;
  int32_t frame_length;
};

/// The shortest exposure is two lines, and the frame is a little longer than the exposure.
Shutter shutter_for(int32_t lines, int32_t longest) {
  const int32_t possible = lines == 1 ? 2 : std::min(lines, longest);
  return {.lines = possible, .frame_length = std::max(possible + kFrameOverhead, kLeastFrameLength)};
}

/// The outcome is that of all writes but the last.
bool write_exposure(CameraContext& camera, int32_t lines) {
  const Shutter shutter = shutter_for(lines, kLongestExposure);
  const bool written =
      sccb_write_all(camera, {{kShutterHigh, byte_of(shutter.lines, 1)},
                              {kShutterLow, byte_of(shutter.lines, 0)},
                              {kFrameLengthHigh, static_cast<uint32_t>(shutter.frame_length) >> 8}});
  sccb_write(camera, kFrameLengthLow, byte_of(shutter.frame_length, 0));
  return written;
}

bool write_loop_exposure(CameraContext& camera, int32_t lines) {
  const Shutter shutter = shutter_for(lines, kLongestLoopExposure);
  return sccb_write_all(camera, {{kShutterHigh, byte_of(shutter.lines, 1)},
                                 {kShutterLow, byte_of(shutter.lines, 0)},
                                 {kFrameLengthHigh, byte_of(shutter.frame_length, 1)},
                                 {kFrameLengthLow, byte_of(shutter.frame_length, 0)}});
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return write_value<kGain>(camera, std::min(gain, kHighestGain));
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  const auto code = static_cast<uint32_t>(std::min(level + 1, 15));
  sccb_write_all(
      camera, {{kChannelGain1, code}, {kChannelGain2, code}, {kChannelGain3, code}, {kChannelGain4, code}});
}

}  // namespace

extern const SensorFamily sensor_0DC0{
    .mids = kMids,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_loop_exposure,
    .write_loop_gain = write_gain,
    .switch_trigger = switch_bridge_trigger,
};

}  // namespace kxcam
