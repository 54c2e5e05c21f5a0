// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Erases the firmware that the bridge loads at power-up: the camera is of no use afterwards until a new one
/// is written. Codes 1, 3, 4; 11.
bool erase_firmware(int camera);

}  // namespace kxcam
