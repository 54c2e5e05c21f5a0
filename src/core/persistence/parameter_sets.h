// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

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

/// Sends those that load_parameter() sends and set_parameter() does not. The times of the trigger unit go to
/// this camera, whose unit lost them, and not to the first one, where their setters send them.
void restore_remaining_settings(CameraContext& camera);

// Settings that are kept by name: "image_format", "resolution_index", "enable_roi" (a byte each),
// "roi_offset_x", "roi_offset_y", "roi_width", "roi_height" (two bytes each). False, without a code, for any
// other key.

/// Stores the low bytes of `value` in the live settings; the camera is not touched.
bool set_property(CameraContext& camera, std::string_view key, int value);
bool get_property(const CameraContext& camera, std::string_view key, int* value);

/// Sets the camera to the region of interest or the preset that its properties name: preset 0 when the
/// region is refused. The camera may refuse that too.
void restore_geometry(CameraContext& camera);

}  // namespace kxcam
