// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Stores the low eight bits of `value`. The demosaic is bilinear whatever they are. Codes 1, 3.
bool set_interpolation(int camera, int value);

/// What was stored, 0..255; -1 with code 1 or 3.
int get_interpolation(int camera);

}  // namespace kxcam
