// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

/// Sensors whose register 0x1E holds snapshot mode and strobe.

bool switch_snapshot_bit(CameraContext& camera, bool triggered);
bool switch_snapshot_strobe_polarity(CameraContext& camera, bool active_high);

/// Strobe of the generation that has two enable bits.
bool switch_double_strobe_bits(CameraContext& camera, bool on);

/// Extra vertical blanking on top of the least that these sensors need.
void write_limited_blanking(CameraContext& camera, int32_t lines);

}  // namespace kxcam
