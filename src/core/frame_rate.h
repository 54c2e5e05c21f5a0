// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Codes of both: 1, 3.

/// A frame rate that the bridge keeps (`fixed`), or as many frames as exposure and readout allow. `fps` is
/// stored either way; code 2 unless it is finite. Code 4 without a device; the bridge's answer does not
/// matter.
bool set_frame_rate(int camera, bool fixed, double fps);
bool get_frame_rate(int camera, bool* fixed, double* fps);

}  // namespace kxcam
