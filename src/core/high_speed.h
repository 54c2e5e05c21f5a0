// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Faster readout, a doubled pixel clock on some models; line time and flicker lines follow. Codes 1, 3, 4;
/// 10 when the bridge refuses, which changes nothing.
bool set_highspeed(int camera, bool on);
/// 0, 1 or -1. Codes 1, 3.
int get_highspeed(int camera);

}  // namespace kxcam
