// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "device/simulated_camera.h"

namespace kxsim {

/// Puts in front of a camera what users name: "chart" (also the empty name), "grey", or a picture file. With
/// "numbers" the camera sends numbered frames instead of pictures, see fill_numbered_frame(). Throws
/// std::runtime_error for a file that cannot be read.
void set_view(SimulatedCamera& camera, const std::string& name);

/// Everything but the name of a file.
bool is_built_in_view(std::string_view name);

}  // namespace kxsim
