// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Codes of all: 1, 3; setters also 2. A setter stores the value first. Getters return -1 on failure.

/// Gain, 1..255 on a scale that each sensor family maps to its registers.
bool set_gain(int camera, int gain);
int get_gain(int camera);

/// Advanced gain, 0..255: a coarse range or conversion gain of the sensor. The sensor's answer does not
/// matter.
bool set_advanced_gain(int camera, int level);
int get_advanced_gain(int camera);

}  // namespace kxcam
