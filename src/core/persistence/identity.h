// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

// The camera's serial number: 12 characters. Buffers that are longer than that get a terminating zero; a
// length out of range is ARGUMENT.

bool has_room_for_serial(int length);  ///< 12 and up

/// The serial number that the camera had when it was opened.
bool get_serialnumber(const CameraContext& camera, char* buffer, int length);

/// The serial number that is in the camera now. NO_DEVICE; READ_REQUEST when a byte cannot be read: the
/// buffer then holds those before it, terminated.
bool read_serialnumber(CameraContext& camera, char* buffer, int length);

/// Gives the camera another serial number of exactly 12 characters; the camera keeps its old one for
/// get_serialnumber() until it is opened again. NO_DEVICE; WRITE_REQUEST when a byte cannot be written: those
/// before it are.
bool writer_serialnumber(CameraContext& camera, const char* buffer, int length);

// 63 bytes in the camera that are the application's own. A length of 0 or less succeeds without asking the
// camera; NO_DEVICE, READ_REQUEST or WRITE_REQUEST when a byte fails: those before it are transferred.

bool is_user_data_length(int length);  ///< up to 63

bool read_user_data(CameraContext& camera, char* buffer, int length);
bool write_user_data(CameraContext& camera, const char* buffer, int length);

}  // namespace kxcam
