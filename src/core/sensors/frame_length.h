// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

/// Lines of a frame as the bridge has them, or `fallback` when it does not tell.
int64_t bridge_frame_length(CameraContext& camera, int64_t fallback);

/// Lines of a frame that the settings ask for: what the fixed frame rate leaves time for, or else the
/// sensor's own `free_running` length and the delay. A frame rate below 0.1 is raised to that, for good.
int64_t wanted_frame_length(CameraContext& camera, int64_t free_running, double lines_per_second);

/// Tells the bridge the length of the frames to come.
void write_frame_length(CameraContext& camera, int64_t lines);

}  // namespace kxcam
