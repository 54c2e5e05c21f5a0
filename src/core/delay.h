// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

// Codes of both: 1, 3, 4.

/// Extra vertical blanking in lines, which lengthens every frame; below 0 counts as 0. The sensor's answer
/// does not matter.
bool set_delay(int camera, int lines);
/// Lines, or -1.
int get_delay(int camera);

/// Sends the stored delay again: on many sensors its register holds the whole frame's length.
void reapply_delay(CameraContext& camera);

}  // namespace kxcam
