// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// The camera's serial number: 12 characters. Buffers that are longer than that get a terminating zero.

/// The serial number that the camera had when it was opened. Codes 1, 2 (less than 12 bytes of room), 3.
bool get_serialnumber(int camera, char* buffer, int length);

/// The serial number that is in the camera now. Codes 1, 2, 3, 4; 10 when a byte cannot be read: the buffer
/// then holds those before it, terminated.
bool read_serialnumber(int camera, char* buffer, int length);

/// Gives the camera another serial number of exactly 12 characters; the camera keeps its old one for
/// get_serialnumber() until it is opened again. Codes 1, 2, 3, 4; 11 when a byte cannot be written: those
/// before it are.
bool writer_serialnumber(int camera, const char* buffer, int length);

// 63 bytes in the camera that are the application's own. A length of 0 or less succeeds without asking the
// camera, whether there is one or not. Codes of both: 1; 2 for more than 63 bytes; 3, 4; 10 or 11 when a byte
// fails: those before it are transferred.

bool read_user_data(int camera, char* buffer, int length);
bool write_user_data(int camera, const char* buffer, int length);

}  // namespace kxcam
