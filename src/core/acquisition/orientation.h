// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Rebuilds the index map from the frame size and the mirror and rotation flags. A context that was opened
/// without acquisition has no map and stays without one.
void UpdateImageIdx(CameraContext& context);

/// Whether the picture shows the sensor's last row first.
bool is_mirrored_y(const CameraContext& context);

/// The full sensor as the frame, with its index map.
void set_full_frame(CameraContext& context);

/// Mirror and rotation of the delivered picture. ARGUMENT for a camera without an index map.
bool set_mirror_x(CameraContext& camera, bool on);
bool set_mirror_y(CameraContext& camera, bool on);
bool set_rotate(CameraContext& camera, bool on);

/// 0 or 1.
int get_mirror_x(const CameraContext& camera);
int get_mirror_y(const CameraContext& camera);
int get_rotate(const CameraContext& camera);

/// Turns the picture from where it is: 90 and 360 degrees toggle the rotation, 180 and 270 both mirrors and
/// the rotation; other angles change nothing.
bool turn(CameraContext& camera, int angle);

}  // namespace kxcam
