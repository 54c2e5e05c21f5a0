// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/frame_length.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/streaming_bit.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0510, 0x051B};

enum SensorRegister : uint32_t {
  kFrameLength = 0x300A,
  kShutterLines = 0x3012,
  kGlobalGain = 0x305E,
};
constexpr uint32_t kLeastBlanking = 100;
constexpr double kPixelClockHz = 200e6;
constexpr double kPixelClockMs = 5e-6;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  if (line_length < 1) return impossible_timing();
  return LineTiming{.line_time_ms = line_length * kPixelClockMs,
                    .flicker_lines = lines_per_half_period(camera, kPixelClockHz, line_length)};
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const auto g = static_cast<uint32_t>(gain);
  sccb_write(camera, kGlobalGain, g < 33 ? 96U << 7 | (2 * (g - 1)) : (g + 64) << 7 | 64);
  return true;
}

/// The loop uses an analogue range of its own, with finer digital steps.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  const auto g = static_cast<uint32_t>(gain);
  return sccb_write(camera, kGlobalGain, g > 32 ? (g + 42) << 7 | 32 : 74U << 7 | (g - 1));
}

}  // namespace

extern const SensorFamily sensor_0510{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .isp_registers = false,
    .extra_line_width = blanking_from_line_length,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = write_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_gain,
    .write_delay = delay_by_blanking<kFrameLength, kLeastBlanking>,
    .switch_trigger = switch_streaming_bit,
};

}  // namespace kxcam
