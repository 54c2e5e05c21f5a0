// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include <libusb.h>

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

// Tables that a camera keeps in its flash, too large for the EEPROM. What fails on the way is not reported:
// a table that cannot be read leaves no correction behind.

/// Whether the bridge can keep the fixed pattern; false also for a camera opened without tables.
bool keeps_fixed_pattern(const CameraContext& camera);

/// The fixed-pattern tables, as signed ten-thousandths, little-endian, cut and saturating: columns of even
/// rows, of odd rows, and rows. Writing erases the tables that were there.
///
/// Tables of more than 2048 entries repeat their first 2048: the flash requests move blocks of 4096 bytes and
/// send, or fetch, the first one again and again.
void write_fixed_pattern(const CameraContext& camera, libusb_device_handle* handle);
void read_fixed_pattern(CameraContext& camera, libusb_device_handle* handle);

/// The table from 12-bit samples to bytes.
void write_user_lut(const CameraContext& camera, libusb_device_handle* handle);
void read_user_lut(CameraContext& camera, libusb_device_handle* handle);

/// Erases the firmware that the bridge loads at power-up: the camera is of no use afterwards until a new one
/// is written. NO_DEVICE, WRITE_REQUEST.
bool erase_firmware(const CameraContext& camera);

}  // namespace kxcam
