// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// All rows start exposing together instead of one after another. Succeeds without effect on cameras that
/// cannot. Codes 1, 3; 2 in trigger mode.
bool set_global_reset(int camera, bool on);
/// 0, 1 or -1. Codes 1, 3; 8 on cameras that cannot.
int get_global_reset(int camera);

}  // namespace kxcam
