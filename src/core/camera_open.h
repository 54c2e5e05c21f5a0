// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Opens the camera at that position on the bus into the slot of the same index: context, device,
/// buffers and reader thread, without restoring settings or starting the stream.
///
/// `name` and the third argument are accepted and ignored; `flags` are OpenFlag bits. Codes 1, 6; 5 on an
/// empty bus; 4 when the device is gone or its model unknown. Throws std::bad_alloc, with the slot empty.
bool init_camera_ex(int camera, const char* name, unsigned int, int flags);

/// init_camera_ex() without flags.
bool init_camera(int camera);

/// Only checks that a camera is open at the index (codes 1, 3); the camera is not touched.
bool reset_camera(int camera);

}  // namespace kxcam
