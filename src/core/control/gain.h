// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

// A setter refuses what is out of range (ARGUMENT), and stores the value before it writes.

/// Gain, 1..255 on a scale that each sensor family maps to its registers.
bool is_gain(int gain);
bool set_gain(CameraContext& camera, int gain);
int get_gain(const CameraContext& camera);

/// Advanced gain, 0..255: a coarse range or conversion gain of the sensor. The sensor's answer does not
/// matter.
bool is_advanced_gain(int level);
bool set_advanced_gain(CameraContext& camera, int level);
int get_advanced_gain(const CameraContext& camera);

}  // namespace kxcam
