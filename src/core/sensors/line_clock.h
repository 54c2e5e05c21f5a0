// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/sensors/sensor_family.h"

namespace kxcam {

/// Half-periods of the mains per second.
int32_t half_periods_per_second(const CameraContext& camera);

/// How many lines one half-period holds, of a clock with that many ticks per second and per line.
int32_t lines_per_half_period(const CameraContext& camera, double ticks_per_second, double ticks_per_line);

/// Nothing, with READ_REQUEST: the sensor reported an impossible line length or clock.
std::optional<LineTiming> impossible_timing();

/// Timing of a line of that many clocks; impossible below one clock. The second form is for sensors whose
/// clock period is a number of its own, not the quotient to the last digit.
std::optional<LineTiming> clocked_line(const CameraContext& camera, double clock_mhz, int32_t line_length);
struct LineClock {
  double hz;
  double period_ms;
};
std::optional<LineTiming> clocked_line(const CameraContext& camera, const LineClock& clock,
                                       int32_t line_length);

/// Timing of a line whose duration never changes.
LineTiming fixed_line(const CameraContext& camera, double line_time_ms, int32_t lines_at_50_hz,
                      int32_t lines_at_60_hz);

/// Pixel clocks in MHz that depend on the high-speed switch, and on the link (super speed or less).
double by_high_speed(const CameraContext& camera, double fast, double normal);
double by_link(const CameraContext& camera, double super_speed, double slower);

/// The timing step of sensors with a clock of 48 MHz, or 24 without the high-speed switch.
std::optional<LineTiming> high_speed_line(CameraContext& camera, int32_t line_length);

/// The same behind older bridges; newer ones clock the sensor by the link.
std::optional<LineTiming> bridge_clocked_line(CameraContext& camera, double super_speed_mhz,
                                              double slower_mhz, int32_t line_length);
template <int kSuperSpeedMhz, int kSlowerMhz>
std::optional<LineTiming> bridge_clocked_line(CameraContext& camera, int32_t line_length) {
  return bridge_clocked_line(camera, kSuperSpeedMhz, kSlowerMhz, line_length);
}

}  // namespace kxcam
