// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/update_hold.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0410, 0x041B};

enum SensorRegister : uint32_t {
  kFrameLengthHigh = 0x320E,
  kFrameLengthLow = 0x320F,
  kClockDivider = 0x36EA,
  kGainHigh = 0x3E08,
  kGainLow = 0x3E09,
};
constexpr double kUndividedClockMhz = 675.0;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  const std::optional<uint32_t> divider = sccb_read(camera, kClockDivider);
  if (!divider) return std::nullopt;
  const int32_t divisor = static_cast<int32_t>(*divider & 0x0F) - 1;
  if (divisor < 1) return impossible_timing();
  return held_line_timing(camera, kUndividedClockMhz / divisor);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const int32_t code = 8 * gain + 40;
  return sccb_write_all(camera, {{kGainHigh, byte_of(code, 1)}, {kGainLow, byte_of(code, 0)}});
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

}  // namespace

extern const SensorFamily sensor_0410{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_held_exposure,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_held_loop_exposure,
    .write_loop_gain = write_gain,
    .write_delay = write_delay,
    .switch_trigger = switch_held_trigger,
};

}  // namespace kxcam
