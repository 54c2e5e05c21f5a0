// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "attached.h"
#include "bus_device.h"
#include "error.h"

namespace kxcam {

/// The code of the library's last failure.
int library_error();

/// What a code of the library's last_error means.
std::string error_text(int code);

/// Why the library finds no camera, given those that the kernel shows.
Error no_camera_error(const std::vector<BusDevice>& bus);

/// Why there is no camera `index` although there are others.
Error no_such_index_error(int index, const std::vector<AttachedCamera>& cameras);

/// A camera that this version of the library does not know.
Error unknown_model_error(const AttachedCamera& camera);

/// Why a camera that is attached could not be opened.
Error open_error(int index, int code);

/// Why `action` on an open camera failed.
Error camera_error(int index, const std::string& action, int code);

/// A camera that delivers nothing although it answers requests.
Error no_frame_error(int index, int milliseconds);

/// A camera that does not even answer requests any more.
Error camera_gone_error(int index);

/// True when the cameras on the bus are all used by programs. The library's index says nothing
/// about which device on the bus it stands for, so with some in use and some not nobody knows.
bool all_claimed(const std::vector<BusDevice>& bus);

Error in_use_error(int index);

}  // namespace kxcam
