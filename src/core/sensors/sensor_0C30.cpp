// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/sensors/bridge_shutter.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B};

constexpr uint32_t kGainParameter = 2;

enum SensorRegister : uint32_t {
  kGainHigh = 0x13,
  kGainLow = 0x14,
  kChannelGain1 = 0x15,
  kChannelGain2 = 0x17,
  kChannelGain3 = 0x19,
  kChannelGain4 = 0x1B,
};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, 0.01, 1000, 833);
}

/// The sensor cannot end an exposure between two and eight lines.
bool write_exposure(CameraContext& camera, int32_t lines) {
  int32_t possible = lines;
  if (lines == 3 || lines == 4) possible = 2;
  if (lines >= 5 && lines <= 7) possible = 8;
  return set_bridge_shutter(camera, possible);
}

bool write_loop_exposure(CameraContext& camera, int32_t lines) {
  return write_bridge_shutter(camera, std::max(lines, 8));
}

bool write_channel_gains(CameraContext& camera, uint32_t code) {
  return sccb_write_all(
      camera, {{kChannelGain1, code}, {kChannelGain2, code}, {kChannelGain3, code}, {kChannelGain4, code}});
}

bool write_gain(CameraContext& camera, int32_t gain) {
  param_write(camera, kGainParameter, static_cast<uint32_t>(gain));
  return true;
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  constexpr int32_t kLastStep = 800;
  constexpr int32_t kHighest = 896;
  const int32_t step = (gain - 1) * 25;
  const int32_t code = step > kLastStep ? kHighest : step;
  const bool written = sccb_write_all(camera, {{kGainHigh, byte_of(code, 1)}, {kGainLow, byte_of(code, 0)}});
  return write_channel_gains(camera, 1) && written;
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  write_channel_gains(camera, static_cast<uint32_t>(std::min(level + 1, 15)));
}

}  // namespace

extern const SensorFamily sensor_0C30{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8, .y_and_height = 8},
    .bridge_auto_exposure = true,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_loop_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_bridge_trigger,
};

}  // namespace kxcam
