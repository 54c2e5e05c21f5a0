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

// Codes of both: 1, 3.

/// A frame rate that the bridge keeps (`fixed`), or as many frames as exposure and readout allow. `fps` is
/// stored either way; code 2 unless it is finite. Code 4 without a device; the bridge's answer does not
/// matter.
bool set_frame_rate(int camera, bool fixed, double fps);
bool get_frame_rate(int camera, bool* fixed, double* fps);

/// Faster readout, a doubled pixel clock on some models; line time and flicker lines follow. Codes 1, 3, 4;
/// 10 when the bridge refuses, which changes nothing.
bool set_highspeed(int camera, bool on);
/// 0, 1 or -1. Codes 1, 3.
int get_highspeed(int camera);

/// All rows start exposing together instead of one after another. Succeeds without effect on cameras that
/// cannot. Codes 1, 3; 2 in trigger mode.
bool set_global_reset(int camera, bool on);
/// 0, 1 or -1. Codes 1, 3; 8 on cameras that cannot.
int get_global_reset(int camera);

}  // namespace kxcam
