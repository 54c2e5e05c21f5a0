// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/line_clock.h"

#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {
constexpr int32_t kSuperSpeed = 3;
}

int32_t half_periods_per_second(const CameraContext& camera) {
  return (camera.parameter.isp_flags & kAntiFlicker60Hz) != 0 ? 120 : 100;
}

int32_t lines_per_half_period(const CameraContext& camera, double ticks_per_second, double ticks_per_line) {
  return static_cast<int32_t>(ticks_per_second / (half_periods_per_second(camera) * ticks_per_line));
}

std::optional<LineTiming> impossible_timing() {
  set_last_error(KXCAM_ERROR_READ_REQUEST);
  return std::nullopt;
}

std::optional<LineTiming> clocked_line(const CameraContext& camera, double clock_mhz, int32_t line_length) {
  if (line_length < 1) return impossible_timing();
  return LineTiming{.line_time_ms = line_length * 0.001 / clock_mhz,
                    .flicker_lines = lines_per_half_period(camera, clock_mhz * 1e6, line_length)};
}

std::optional<LineTiming> clocked_line(const CameraContext& camera, const LineClock& clock,
                                       int32_t line_length) {
  if (line_length < 1) return impossible_timing();
  return LineTiming{.line_time_ms = line_length * clock.period_ms,
                    .flicker_lines = lines_per_half_period(camera, clock.hz, line_length)};
}

LineTiming fixed_line(const CameraContext& camera, double line_time_ms, int32_t lines_at_50_hz,
                      int32_t lines_at_60_hz) {
  const bool at_50_hz = half_periods_per_second(camera) == 100;
  return {.line_time_ms = line_time_ms, .flicker_lines = at_50_hz ? lines_at_50_hz : lines_at_60_hz};
}

double by_high_speed(const CameraContext& camera, double fast, double normal) {
  return (camera.parameter.isp_flags & kHighSpeed) != 0 ? fast : normal;
}

double by_link(const CameraContext& camera, double super_speed, double slower) {
  return camera.device.usb_speed == kSuperSpeed ? super_speed : slower;
}

std::optional<LineTiming> high_speed_line(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, by_high_speed(camera, 48, 24), line_length);
}

std::optional<LineTiming> bridge_clocked_line(CameraContext& camera, double super_speed_mhz,
                                              double slower_mhz, int32_t line_length) {
  if (!camera.model().newer_bridge()) return high_speed_line(camera, line_length);
  return clocked_line(camera, by_link(camera, super_speed_mhz, slower_mhz), line_length);
}

}  // namespace kxcam
