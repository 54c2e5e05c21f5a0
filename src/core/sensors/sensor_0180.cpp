// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/streaming_bit.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0180, 0x018B};

enum SensorRegister : uint32_t {
  kFrameLines = 0x0340,
  kFrameLength = 0x300A,
  kShutterLines = 0x3012,
  kGlobalGain = 0x305E,
};
constexpr uint32_t kLeastBlanking = 116;
constexpr double kPixelClockHz = 180e6;
constexpr double kPixelClockMs = 5.555555555555556e-6;
constexpr uint32_t kColumnGainMask = 0x7;

uint32_t frame_height(const CameraContext& camera) {
  const FrameGeometry geometry = camera.stream.geometry;
  return geometry.frame_height;
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  if (line_length < 1) return impossible_timing();
  return LineTiming{.line_time_ms = line_length * kPixelClockMs,
                    .flicker_lines = lines_per_half_period(camera, kPixelClockHz, line_length)};
}

/// The frame grows with the exposure only once that has used up the blanking.
bool write_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(lines);
  const uint32_t least_frame = frame_height(camera) + kLeastBlanking;
  const uint32_t frame = e >= least_frame ? e + kLeastBlanking : least_frame;
  sccb_write_all(camera, {{kShutterLines, e}, {kFrameLines, frame}});
  return true;
}

constexpr uint32_t gain_code(int32_t gain) {
  constexpr auto code = [](uint32_t digital, uint32_t coarse) { return coarse << 7 | digital * 8; };
  const auto g = static_cast<uint32_t>(gain);
  if (g < 32) return code(g >> 1, 64);
  if (g < 64) return code(g >> 2, 127);
  if (g < 128) return code(g >> 3, 255);
  return code(g >> 4, 511);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGlobalGain, gain_code(gain));
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  const std::optional<uint32_t> present = sccb_read(camera, kGlobalGain);
  if (!present) return;
  const auto column_gain = static_cast<uint32_t>(std::min(level, 4));
  sccb_write(camera, kGlobalGain, (*present & 0xFFFF & ~kColumnGainMask) | column_gain);
}

void write_delay(CameraContext& camera, int32_t lines) {
  sccb_write(camera, kFrameLength, static_cast<uint32_t>(lines) + frame_height(camera) + kLeastBlanking);
}

}  // namespace

extern const SensorFamily sensor_0180{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .isp_registers = false,
    .extra_line_width = blanking_from_half_clocks,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_gain,
    .write_delay = write_delay,
    .switch_trigger = switch_streaming_bit,
};

}  // namespace kxcam
