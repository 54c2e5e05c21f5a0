// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "error.h"

namespace kxcam {

/// The code of the library's last failure.
int library_error();

/// What a code of the library's last_error means.
std::string error_text(int code);

/// Why a camera that is attached, and that nothing seemed to prevent from being used, could not be opened.
Error open_error(int index, int code);

/// Why `action` on an open camera failed.
Error camera_error(int index, const std::string& action, int code);

/// A camera that delivers nothing although it answers requests.
Error no_frame_error(int index, int milliseconds);

/// A camera that does not even answer requests any more.
Error camera_gone_error(int index);

}  // namespace kxcam
