// SPDX-License-Identifier: Apache-2.0
#include "core/camera_context.h"
#include "core/sensor_family.h"
#include "core/sensors/gain_stages.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0E00};

enum SensorRegister : uint32_t {
  kFrameLength = 0x300A,
  kShutterLines = 0x3012,
  kGlobalGain = 0x305E,
};
constexpr uint32_t kLeastBlanking = 146;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  const double clock =
      camera.model().newer_bridge() ? by_link(camera, 86, 43) : by_high_speed(camera, 48, 24);
  return clocked_line(camera, clock, line_length);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  sccb_write(camera, kGlobalGain, column_gain_code(gain));
  return true;
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGlobalGain, loop_column_gain_code(gain));
}

void write_delay(CameraContext& camera, int32_t lines) {
  const FrameGeometry geometry = camera.geometry;
  sccb_write(camera, kFrameLength, static_cast<uint32_t>(lines) + geometry.frame_height + kLeastBlanking);
}

}  // namespace

extern const SensorFamily sensor_0E00{
    .mids = kMids,
    .isp_registers = false,
    .settling_time_ms = 300,
    .extra_line_width = blanking_from_line_length,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = write_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_gain,
    .write_delay = write_delay,
    .switch_trigger = request_trigger_mode,
};

}  // namespace kxcam
