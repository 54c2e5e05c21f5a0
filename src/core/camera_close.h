// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Ends the reader, closes the device and empties the slot. Calls that are still running in other
/// threads keep the context and the handle until they return. Codes 1, 3.
bool free_camera(int camera);

}  // namespace kxcam
