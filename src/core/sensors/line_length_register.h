// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/sensors/sensor_family.h"

namespace kxcam {

/// Blanking of sensors whose register 0x300C holds the length of the whole line in pixel clocks.
std::optional<int32_t> blanking_from_line_length(CameraContext& camera, ReadoutSize size);

/// The same where the register counts half clocks.
std::optional<int32_t> blanking_from_half_clocks(CameraContext& camera, ReadoutSize size);

}  // namespace kxcam
