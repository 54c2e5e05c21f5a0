// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

/// The gain step of the sensors whose register 0x305E holds a column gain and a multiplier.
bool write_column_gain(CameraContext& camera, int32_t gain);
bool write_loop_column_gain(CameraContext& camera, int32_t gain);

}  // namespace kxcam
