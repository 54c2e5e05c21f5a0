// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/registry/camera_context.h"

namespace kxcam {

// What asks the device fails with NO_DEVICE, and with READ_REQUEST when the request fails or the reply names
// an impossible geometry, which changes nothing. Output pointers may be null.

/// Number of presets, or -1.
int get_resolution_count(const CameraContext& camera);

/// Largest size that the camera offers.
bool get_resolution_max(const CameraContext& camera, int* width, int* height);

/// Size of a preset in the picture's view and its bytes per raw sample.
bool get_resolution(const CameraContext& camera, int preset, int* width, int* height, int* bytes);

/// Selects a preset and ends a region of interest; outputs as get_resolution().
bool set_resolution(CameraContext& camera, int preset, int* width, int* height, int* bytes);

/// Readout mode, the low eight bits; stored even if the request fails.
bool set_resolution_mode(CameraContext& camera, int mode);
/// Readout mode last set.
int get_resolution_mode(const CameraContext& camera);

/// The window of the sensor that a region in the picture's view comes from. Nothing when the region
/// is not aligned as the sensor needs it or does not lie on the sensor.
std::optional<SensorWindow> MapViewToSensor(const CameraContext& context, int x, int y, int w, int h);

/// Reads out a region given in the picture's view. ARGUMENT for a region that the sensor cannot read out;
/// WRITE_REQUEST or READ_REQUEST when the camera refuses. After a failure the geometry is as it was.
bool set_ROI(CameraContext& camera, int x, int y, int w, int h);

/// set_resolution() and set_ROI() with the exposure set anew: its registers depend on the size of the
/// readout.
bool select_resolution(CameraContext& camera, int preset, int* width, int* height);
bool select_ROI(CameraContext& camera, int x, int y, int w, int h);

/// The window that the index map turns into that part of the delivered picture of the full sensor. Nothing
/// when it is not aligned as the sensor needs it or does not lie on the sensor.
std::optional<SensorWindow> window_of_picture(const CameraContext& camera, int x, int y, int w, int h);

/// Reads out the part of the picture that was asked for; otherwise as select_ROI().
bool select_region(CameraContext& camera, int x, int y, int w, int h);

/// Selects what was read out before, and leaves the settings alone. Codes as set_ROI().
bool reselect_readout(CameraContext& camera, const ReadoutInForce& readout);

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
