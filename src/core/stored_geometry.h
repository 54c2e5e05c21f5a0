// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Sets the camera to the region of interest or the preset that its properties name: preset 0 when the
/// region is refused. The camera may refuse that too. Codes as set_ROI() and set_resolution().
void restore_geometry(int camera);

}  // namespace kxcam
