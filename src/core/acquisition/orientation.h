// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Rebuilds the index map from the frame size and the mirror and rotation flags. A context that was opened
/// without acquisition has no map and stays without one.
void UpdateImageIdx(CameraContext& context);

/// The full sensor as the frame, with its index map.
void set_full_frame(CameraContext& context);

/// Mirror and rotation of the delivered picture. Codes 1, 3; 2 for a context without an index map.
bool set_mirror_x(int camera, bool on);
bool set_mirror_y(int camera, bool on);
bool set_rotate(int camera, bool on);

/// 0 or 1; -1 on failure.
int get_mirror_x(int camera);
int get_mirror_y(int camera);
int get_rotate(int camera);

}  // namespace kxcam
