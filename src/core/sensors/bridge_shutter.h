// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

/// Exposure of sensors whose shutter the bridge times, in ten units a line.

/// For the setter: the outcome is that of the low word.
bool set_bridge_shutter(CameraContext& camera, int32_t lines);
/// For the loop: both words count.
bool write_bridge_shutter(CameraContext& camera, int32_t lines);

}  // namespace kxcam
