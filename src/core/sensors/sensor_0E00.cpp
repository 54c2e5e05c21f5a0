// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/column_gain.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0E00};

enum SensorRegister : uint32_t {
  kFrameLength = 0x300A,
  kShutterLines = 0x3012,
};
constexpr uint32_t kLeastBlanking = 146;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  const double clock =
      camera.model().newer_bridge() ? by_link(camera, 86, 43) : by_high_speed(camera, 48, 24);
  return clocked_line(camera, clock, line_length);
}

}  // namespace

extern const SensorFamily sensor_0E00{
    .mids = kMids,
    .isp_registers = false,
    .settling_time_ms = 300,
    .extra_line_width = blanking_from_line_length,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = write_column_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_column_gain,
    .write_delay = delay_by_blanking<kFrameLength, kLeastBlanking>,
    .switch_trigger = request_trigger_mode,
};

}  // namespace kxcam
