// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

// Settings of line-scan use. They are stored for every camera and sent to line-scan sensors only. Codes 1, 3;
// 4 and 10 where a request is sent.

/// Lines per frame, the low 16 bits.
bool set_line_height(int camera, int lines);
/// Lines per frame last set, or -1.
int get_line_height(int camera);

/// Line-trigger mode: on for 1, off for anything else.
bool set_line_trigger(int camera, int on);
/// 0, 1 or -1.
int get_line_trigger(int camera);

/// Tells a line-scan sensor how many lines a trigger starts; nothing to tell others. Codes 4, 10.
bool send_lines_per_trigger(const CameraContext& camera, uint16_t lines);

}  // namespace kxcam
