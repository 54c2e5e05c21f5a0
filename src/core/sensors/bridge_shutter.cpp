// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"

// Sensors that the bridge triggers, and whose shutter (but that of 0x0DC0) it times.

namespace kxcam {

namespace {

struct Written {
  bool low;
  bool high;
};

/// Ten units a line.
Written write_shutter(CameraContext& camera, int32_t lines) {
  const uint32_t time = static_cast<uint32_t>(lines) * 10;
  const bool low = isp_write(camera, bridge::kShutterLow, time & 0xFFFF);
  const bool high = isp_write(camera, bridge::kShutterHigh, time >> 16);
  return {low, high};
}

/// For the setter: the outcome is that of the low word.
bool write_exposure(CameraContext& camera, int32_t lines) {
  return write_shutter(camera, lines).low;
}

/// For the loop: both words count.
bool write_loop_exposure(CameraContext& camera, int32_t lines) {
  const Written written = write_shutter(camera, lines);
  return written.low && written.high;
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, 0.01, 1000, 833);
}

/// The bridge must be restarted on the way into trigger mode. Its answer to the request does not matter.
bool switch_trigger(CameraContext& camera, bool triggered) {
  request_trigger_mode(camera, triggered);
  if (triggered && !is_triggered(camera)) isp_write(camera, bridge::kRestart, 1);
  return true;
}

/// One code for the four colour channels, in every other register from the first on.
bool write_channel_gains(CameraContext& camera, uint32_t first_reg, uint32_t code) {
  return sccb_write_all(
      camera, {{first_reg, code}, {first_reg + 2, code}, {first_reg + 4, code}, {first_reg + 6, code}});
}

template <uint32_t kFirstChannelGain>
void write_advanced_channel_gains(CameraContext& camera, int32_t level) {
  write_channel_gains(camera, kFirstChannelGain, static_cast<uint32_t>(std::min(level + 1, 15)));
}

namespace sensor_0600 {

constexpr uint32_t kMids[] = {0x0600, 0x060B, 0x0610, 0x061B, 0x0620, 0x062B,
                              0x0630, 0x063B, 0x0650, 0x065B, 0x0710, 0x071B};
constexpr uint32_t kWideMids[] = {0x0680, 0x068B};

enum SensorRegister : uint32_t {
  kAnalogueGain = 0x3204,
  kConversionGain = 0x3205,
};

bool write_gain(CameraContext& camera, int32_t gain) {
  constexpr int32_t kHighestCodeAtHighConversion = 224;
  const int32_t code = gain - 1;
  const bool high_conversion = camera.parameter.advanced_gain != 0;
  return write_value<kAnalogueGain>(camera,
                                    high_conversion ? std::min(code, kHighestCodeAtHighConversion) : code);
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return write_value<kAnalogueGain>(camera, gain - 1);
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  sccb_write(camera, kConversionGain, level != 0 ? 1 : 0);
}

constexpr SensorFamily recipe(std::span<const uint32_t> mids, RoiAlignment alignment) {
  return {
      .mids = mids,
      .roi_alignment = alignment,
      .line_timing = line_timing,
      .write_exposure = write_exposure,
      .write_gain = regardless<write_gain>,
      .write_advanced_gain = write_advanced_gain,
      .write_loop_exposure = write_loop_exposure,
      .write_loop_gain = write_loop_gain,
      .switch_trigger = switch_trigger,
  };
}

constexpr SensorFamily family = recipe(kMids, {});
constexpr SensorFamily wide_family = recipe(kWideMids, {.x_and_width = 8});

}  // namespace sensor_0600

namespace sensor_0C30 {

constexpr uint32_t kMids[] = {0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B};

enum SensorRegister : uint32_t {
  kGainHigh = 0x13,
  kGainLow = 0x14,
  kFirstChannelGain = 0x15,
};

/// The sensor cannot end an exposure between two and eight lines.
bool write_exposure(CameraContext& camera, int32_t lines) {
  int32_t possible = lines;
  if (lines == 3 || lines == 4) possible = 2;
  if (lines >= 5 && lines <= 7) possible = 8;
  return kxcam::write_exposure(camera, possible);
}

bool write_loop_exposure(CameraContext& camera, int32_t lines) {
  return kxcam::write_loop_exposure(camera, std::max(lines, 8));
}

bool write_gain(CameraContext& camera, int32_t gain) {
  constexpr uint32_t kGainParameter = 2;
  return param_write(camera, kGainParameter, static_cast<uint32_t>(gain));
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  constexpr int32_t kLastStep = 800;
  constexpr int32_t kHighest = 896;
  const int32_t step = (gain - 1) * 25;
  const int32_t code = step > kLastStep ? kHighest : step;
  const bool written = sccb_write_all(camera, {{kGainHigh, byte_of(code, 1)}, {kGainLow, byte_of(code, 0)}});
  return write_channel_gains(camera, kFirstChannelGain, 1) && written;
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8, .y_and_height = 8},
    .bridge_auto_exposure = true,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_channel_gains<kFirstChannelGain>,
    .write_loop_exposure = write_loop_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0C30

namespace sensor_0DC0 {

constexpr uint32_t kMids[] = {0x0DC0, 0x0DCB};

enum SensorRegister : uint32_t {
  kShutterHigh = 0x0E,
  kShutterLow = 0x0F,
  kGain = 0x15,
  kFirstChannelGain = 0x16,
  kFrameLengthHigh = 0x1E,
  kFrameLengthLow = 0x1F,
  kLineLengthHigh = 0x20,
  kLineLengthLow = 0x21,
};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  constexpr LineClock kPixelClock{.hz = 9.6e7, .period_ms = 1.0416666666666666e-5};
  const std::optional<int32_t> length = sccb_read_pair(camera, kLineLengthHigh, kLineLengthLow);
  return length ? clocked_line(camera, kPixelClock, *length) : std::nullopt;
}

constexpr int32_t kLongestExposure = 65535;

/// The shortest exposure is two lines, and the frame is a little longer than the exposure. The setter's
/// outcome is that of all writes but the last.
template <int32_t kLongest, bool kLastWriteCounts>
bool write_exposure(CameraContext& camera, int32_t lines) {
  constexpr int32_t kLeastFrameLength = 3250;
  constexpr int32_t kFrameOverhead = 4;
  const int32_t possible = lines == 1 ? 2 : std::min(lines, kLongest);
  const int32_t frame_length = std::max(possible + kFrameOverhead, kLeastFrameLength);
  const bool written = sccb_write_all(camera, {{kShutterHigh, byte_of(possible, 1)},
                                               {kShutterLow, byte_of(possible, 0)},
                                               {kFrameLengthHigh, static_cast<uint32_t>(frame_length) >> 8}});
  return (sccb_write(camera, kFrameLengthLow, byte_of(frame_length, 0)) || !kLastWriteCounts) && written;
}

bool write_gain(CameraContext& camera, int32_t gain) {
  constexpr int32_t kHighestGain = 240;
  return write_value<kGain>(camera, std::min(gain, kHighestGain));
}

constexpr SensorFamily family{
    .mids = kMids,
    .longest_exposure = kLongestExposure,
    .line_timing = line_timing,
    .write_exposure = write_exposure<kLongestExposure, false>,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_channel_gains<kFirstChannelGain>,
    .write_loop_exposure = write_exposure<4000, true>,
    .write_loop_gain = write_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0DC0

constexpr SensorFamily kFamilies[] = {sensor_0600::family, sensor_0600::wide_family, sensor_0C30::family,
                                      sensor_0DC0::family};

}  // namespace

extern const SensorGeneration bridge_shutter_sensors = kFamilies;

}  // namespace kxcam
