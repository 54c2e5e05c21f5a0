// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

// The settings of a camera in its memory: slot 1, or with any other number slot 0. All fail with
// NO_DEVICE.

/// Stores the live settings, the camera's colour matrix and, where the camera keeps them, the fixed pattern
/// (while its correction is on) and the table of 12-bit samples. Takes about half a second. Whether the
/// camera took the bytes is not reported.
bool save_parameter(CameraContext& camera, int slot);

/// Loads a stored set and applies it setting by setting. A value that its setter rejects, such as those of a
/// set that was never written, leaves the setting as it was, and the rest is applied all the same; the
/// result is false then, with the code of the last failure.
bool load_parameter(CameraContext& camera, int slot);

/// Sends the live settings to a camera that lost them, with the region or preset they name. The result is
/// that of the settings before the snap mode.
bool set_parameter(CameraContext& camera);

}  // namespace kxcam
