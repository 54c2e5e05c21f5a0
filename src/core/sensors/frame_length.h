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

/// Gives the sensor's register `reg` the lines of a frame with `blanking` more than the picture has.
void write_blanking(CameraContext& camera, uint32_t reg, uint32_t blanking);

/// A delay step that adds its lines to the least blanking.
template <uint32_t kRegister, uint32_t kLeastBlanking>
void delay_by_blanking(CameraContext& camera, int32_t lines) {
  write_blanking(camera, kRegister, static_cast<uint32_t>(lines) + kLeastBlanking);
}

}  // namespace kxcam
