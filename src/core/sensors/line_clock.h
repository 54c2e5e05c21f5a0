// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/sensors/sensor_family.h"

namespace kxcam {

/// Half-periods of the mains per second.
int32_t half_periods_per_second(const CameraContext& camera);

/// Nothing, with code 10: the sensor told a length or a clock that cannot be.
std::optional<LineTiming> impossible_timing();

/// Timing of a line of that many clocks; impossible below one clock.
std::optional<LineTiming> clocked_line(const CameraContext& camera, double clock_mhz, int32_t line_length);

/// Timing of a line that always lasts as long.
LineTiming fixed_line(const CameraContext& camera, double line_time_ms, int32_t lines_at_50_hz,
                      int32_t lines_at_60_hz);

/// What the half-periods of a second hold of a clock that ticks so often in it.
int32_t lines_per_half_period(const CameraContext& camera, double ticks_per_second, double ticks_per_line);

/// Pixel clocks in MHz that depend on the high-speed switch, and on the link (super speed or less).
double by_high_speed(const CameraContext& camera, double fast, double normal);
double by_link(const CameraContext& camera, double super_speed, double slower);

}  // namespace kxcam
