// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input.h"

namespace kxcam {

/// The cameras that the producer finds: virtual ones of the library's, behind functions that answer what the
/// input says. Frames come when send_frame() is called.
void reset_cameras(Input& input);
void send_frame();
/// The next calls of functions that send something to a camera fail with that cause; 0: they succeed.
void set_cause(int cause);
/// The device is not there any more, or again.
void set_gone(bool gone);

}  // namespace kxcam
