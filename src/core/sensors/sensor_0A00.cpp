// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/column_gain.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/streaming_bit.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0A00, 0x0A0B};

enum SensorRegister : uint32_t {
  kFrameLength = 0x300A,
  kShutterLines = 0x3012,
};
constexpr uint32_t kLeastBlanking = 143;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  const double clock =
      camera.model().newer_bridge() ? by_link(camera, 80, 40) : by_high_speed(camera, 42.6667, 24);
  return clocked_line(camera, clock, line_length);
}

}  // namespace

extern const SensorFamily sensor_0A00{
    .mids = kMids,
    .isp_registers = false,
    .extra_line_width = blanking_from_half_clocks,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = write_column_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_column_gain,
    .write_delay = delay_by_blanking<kFrameLength, kLeastBlanking>,
    .switch_trigger = switch_streaming_bit,
};

}  // namespace kxcam
