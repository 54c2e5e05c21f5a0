// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/sensors/sensor_family.h"

namespace kxcam {

/// Global-shutter sensors that count exposure and frame in microseconds, as "lines".

inline constexpr uint32_t kMicrosecondFrame = 0xC8;
inline constexpr uint32_t kMicrosecondExposure = 0xC9;

std::optional<LineTiming> microsecond_timing(CameraContext& camera, int32_t line_length);
bool write_microsecond_gain(CameraContext& camera, int32_t gain);
bool switch_microsecond_trigger(CameraContext& camera, bool triggered);

}  // namespace kxcam
