// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam::api {

/// Bit n: the camera at that index offers control n of kxcam_get_control(). Nothing is sent to it.
uint64_t offered_controls(int camera);

}  // namespace kxcam::api
