// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/exposure.h"
#include "core/sensors/exposure_clocks.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0910, 0x091B};

enum SensorRegister : uint32_t {
  kGainLow = 0x09,
  kGainHigh = 0x0A,
  kShutterLow = 0x0B,
  kShutterHigh = 0x0C,
  kConversionGain = 0x11,
  kClampLow = 0x0352,
  kClampHigh = 0x0353,
};
constexpr int64_t kUsualFrameLength = 3500;
constexpr double kLinesPerSecond = 98629.05611993294;
constexpr int64_t kReadoutLines = 3;
constexpr int64_t kLeastShutter = 8;
constexpr int32_t kFirstHighGain = 328;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return exposure_dependent_line(camera, 119.2, 584.0);
}

/// The shutter register counts the lines of the frame before the exposure begins; the frame grows where they
/// would be fewer than the sensor needs.
bool write_exposure(CameraContext& camera, int32_t lines) {
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

}  // namespace

extern const SensorFamily sensor_0910{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_coarse_loop_gain,
    .switch_trigger = switch_trigger_and_settle,
};

}  // namespace kxcam
