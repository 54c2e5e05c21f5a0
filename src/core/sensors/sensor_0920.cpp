// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "core/control/exposure.h"
#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "core/sensors/exposure_clocks.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0920, 0x092B};

enum SensorRegister : uint32_t {
  kGlobalResetSwitch = 0x08,
  kGainLow = 0x09,
  kGainHigh = 0x0A,
  kShutterLow = 0x0B,
  kShutterHigh = 0x0C,
  kConversionGain = 0x11,
  kConversionBias = 0x45,
};
enum BridgeRegister : uint32_t {
  kExposedLinesLow = 0x0A,
  kExposedLinesHigh = 0x0B,
  kBridgeGlobalReset = 0x1C,
};
constexpr int64_t kUsualFrameLength = 4705;
constexpr double kLinesPerSecond = 80000.0;
constexpr int64_t kLeastShutter = 8;

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
  const int64_t wanted =
      wanted_frame_length(camera, bridge_frame_length(camera, kUsualFrameLength), kLinesPerSecond);
  const int64_t length = std::max(wanted, lines + kLeastShutter - 1);
  const int64_t shutter = length + 1 - lines;
  write_frame_length(camera, length);
  write_shutter(camera, shutter);
  set_exposure_width(camera, 0, 0);
  const int64_t exposed = length - shutter;
  isp_write(camera, kExposedLinesLow, static_cast<uint32_t>(exposed));
  isp_write(camera, kExposedLinesHigh, static_cast<uint32_t>(exposed >> 16));
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
  isp_write(camera, kBridgeGlobalReset, on ? 1 : 0);
  set_exposure(camera, camera.parameter.exposure);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  switch_trigger_and_settle(camera, triggered);
  if (!global_reset_off(camera)) sccb_write(camera, kGlobalResetSwitch, 1);
  return true;
}

}  // namespace

extern const SensorFamily sensor_0920{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .trigger_wait_ms = 2,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_coarse_loop_gain,
    .switch_global_reset = switch_global_reset,
    .switch_trigger = switch_trigger,
};

}  // namespace kxcam
