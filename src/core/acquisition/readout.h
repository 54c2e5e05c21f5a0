// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "core/registry/camera_context.h"

namespace kxcam {

// Codes of all: 1, 3; those that ask the device also 4, and 10 when the request fails or the reply
// names an impossible geometry, which changes nothing. Output pointers may be null.

/// Number of presets, or -1.
int get_resolution_count(int camera);

/// Largest size that the camera offers.
bool get_resolution_max(int camera, int* width, int* height);

/// Size of a preset in the picture's view and its bytes per raw sample.
bool get_resolution(int camera, int preset, int* width, int* height, int* bytes);

/// Selects a preset and ends a region of interest; outputs as get_resolution().
bool set_resolution(int camera, int preset, int* width, int* height, int* bytes);

/// Readout mode, the low eight bits; stored even if the request fails.
bool set_resolution_mode(int camera, int mode);
/// Readout mode last set, or -1.
int get_resolution_mode(int camera);

/// A window of the sensor in sensor pixels.
struct SensorWindow {
  uint16_t x;
  uint16_t y;
  uint16_t width;
  uint16_t height;

  bool operator==(const SensorWindow&) const = default;
};

/// The window of the sensor that a region in the picture's view comes from. Nothing when the region
/// is not aligned as the sensor needs it or does not lie on the sensor.
std::optional<SensorWindow> MapViewToSensor(const CameraContext& context, int x, int y, int w, int h);

/// Reads out a region given in the picture's view. Codes 1, 3, 4; 2 for a region that the sensor cannot
/// read out; 11 and 10 when the camera refuses. After a failure the geometry is as it was.
bool set_ROI(int camera, int x, int y, int w, int h);

}  // namespace kxcam
