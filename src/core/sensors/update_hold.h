// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/sensors/sensor_family.h"

namespace kxcam {

/// Sensors that take changes of several registers at once: a bracket of writes to register 0x3800 around
/// them. Their exposure, line length and trigger mode are the same.

inline constexpr uint32_t kUpdateHold = 0x3800;
inline constexpr uint32_t kHoldBegin = 0x00;
inline constexpr uint32_t kHoldEnd = 0x10;
inline constexpr uint32_t kHoldLaunch = 0x60;

/// Exposure of the setter: capped at what the registers hold, with the line-time bookkeeping that follows.
bool write_held_exposure(CameraContext& camera, int32_t lines);
/// Exposure of the loop, 1..4000.
bool write_held_loop_exposure(CameraContext& camera, int32_t lines);

/// A gain of a coarse and a fine code; true when all writes succeeded.
bool write_held_gain(CameraContext& camera, uint32_t coarse, uint32_t fine);

/// Timing of a line, whose length in pixel clocks the sensor tells.
std::optional<LineTiming> held_line_timing(CameraContext& camera, double clock_mhz);

bool switch_held_trigger(CameraContext& camera, bool triggered);

}  // namespace kxcam
