// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Extra vertical blanking in lines, which lengthens every frame; below 0 counts as 0. The sensor's answer
/// does not matter. NO_DEVICE.
bool set_delay(CameraContext& camera, int lines);
/// Lines, or -1 with NO_DEVICE.
int get_delay(const CameraContext& camera);

/// Sends the stored delay again: on many sensors its register holds the whole frame's length.
void reapply_delay(CameraContext& camera);

/// A frame rate that the bridge keeps (`fixed`), or as many frames as exposure and readout allow. `fps` is
/// stored either way; ARGUMENT unless it is finite. NO_DEVICE; the bridge's answer does not matter.
bool is_frame_rate(double fps);
bool set_frame_rate(CameraContext& camera, bool fixed, double fps);
bool get_frame_rate(const CameraContext& camera, bool* fixed, double* fps);

/// Faster readout, a doubled pixel clock on some models; line time and flicker lines follow. NO_DEVICE;
/// READ_REQUEST when the bridge refuses, which changes nothing.
bool set_highspeed(CameraContext& camera, bool on);
/// 0 or 1.
int get_highspeed(const CameraContext& camera);

/// All rows start exposing together instead of one after another. Succeeds without effect on cameras that
/// cannot. ARGUMENT in trigger mode.
bool set_global_reset(CameraContext& camera, bool on);
/// The same without the frames that wait when it is switched on: they were exposed row by row.
bool select_global_reset(CameraContext& camera, bool on);
/// 0 or 1; -1 with NOT_SUPPORTED on cameras that cannot.
int get_global_reset(const CameraContext& camera);

}  // namespace kxcam
