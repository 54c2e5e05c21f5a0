// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/exposure.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x3200, 0x320B};

enum SensorRegister : uint32_t {
  kGain = 0x3014,
  kShutterLow = 0x3020,
  kShutterHigh = 0x3021,
};
constexpr int64_t kUsualFrameLength = 1128;
constexpr double kLinesPerSecond = 135409.61408259987;
constexpr double kLineTimeMs = 0.007384960718294052;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, kLineTimeMs, 677, 564);
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
  sccb_write(camera, kGain, static_cast<uint32_t>((gain - 1) * 0.4));
  return true;
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGain, static_cast<uint32_t>((gain - 1) / 4));
}

}  // namespace

extern const SensorFamily sensor_3200{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_loop_exposure = write_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_trigger_and_settle,
};

}  // namespace kxcam
