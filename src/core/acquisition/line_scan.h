// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

// Settings of line-scan use. They are stored for every camera and sent to line-scan sensors only, where they
// can fail with NO_DEVICE or READ_REQUEST.

/// Lines per frame, the low 16 bits.
bool set_line_height(CameraContext& camera, int lines);
int get_line_height(const CameraContext& camera);

/// Line-trigger mode: on for 1, off for anything else.
bool set_line_trigger(CameraContext& camera, int on);
/// 0 or 1.
int get_line_trigger(const CameraContext& camera);

/// Tells a line-scan sensor how many lines a trigger starts; nothing to tell others.
bool send_lines_per_trigger(const CameraContext& camera, uint16_t lines);

}  // namespace kxcam
