// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/exposure.h"
#include "core/registry/camera_context.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0860, 0x086B};

enum SensorRegister : uint32_t {
  kHold = 0x3007,
  kConversionGain = 0x301B,
  kAnalogueGain = 0x301F,
  kShutterLow = 0x3034,
  kShutterMiddle = 0x3035,
  kShutterHigh = 0x3036,
};
constexpr uint32_t kHighConversion = 30;
constexpr int64_t kUsualFrameLength = 2227;
constexpr double kLinesPerSecond = 128571.06122553935;
constexpr double kClockMs = 2.3148148148148147e-5;
constexpr double kFlickerClockHz = 2.16e7;
constexpr int32_t kFixedClocks = 336;
constexpr int32_t kSharedClocks = 121;  ///< spread over the lines of the exposure

/// Flicker counting takes whole clocks, the line time does not.
std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  const int32_t e = std::max<int32_t>(camera.parameter.exposure, 1);
  const double clocks = static_cast<double>(kSharedClocks) / e + kFixedClocks;
  const int32_t whole_clocks = kSharedClocks / e + kFixedClocks;
  return LineTiming{.line_time_ms = clocks * kClockMs,
                    .flicker_lines = lines_per_half_period(camera, kFlickerClockHz, whole_clocks)};
}

/// The shutter register counts the lines of the frame before the exposure begins.
bool write_exposure(CameraContext& camera, int32_t lines) {
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
  sccb_write(camera, kConversionGain, level != 0 ? kHighConversion : 0);
}

}  // namespace

extern const SensorFamily sensor_0860{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_gain,
    .switch_trigger = switch_trigger_and_settle,
};

}  // namespace kxcam
