// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

// The list of dead pixels in the camera's EEPROM. A caller's list is its count N, at most 63, then N pairs
// of x and y in sensor pixels. Both fail with NO_DEVICE.

/// Writes the list to the EEPROM and makes it the one in force. ARGUMENT for a count above 63; WRITE_REQUEST
/// when a byte could not be written, which ends the call with the old list in force. A failure of the very
/// last byte goes unreported.
bool save_deadpixel(CameraContext& camera, const uint32_t* list);

/// Reads the EEPROM's list, makes it the one in force and copies it to `list`, which has room for 127
/// elements, unless it is null. A count above 63, such as an erased EEPROM holds, is an empty list, and
/// `list` stays untouched. READ_REQUEST when the count could not be read, which changes nothing, or when
/// some of the pixels could not, which then lie at (0, 0) and correct nothing.
bool load_deadpixel(CameraContext& camera, uint32_t* list);

}  // namespace kxcam
