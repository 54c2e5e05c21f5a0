// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kxcam {

struct CameraContext;

/// Opens the camera at that position on the bus into the slot of the same index: context, device,
/// buffers and reader thread, without restoring settings or starting the stream.
///
/// `name` and the third argument are accepted and ignored; `flags` are OpenFlag bits. INDEX, IN_USE;
/// EMPTY_BUS on an empty bus; NO_DEVICE when the device is gone or its model unknown. Throws std::bad_alloc,
/// with the slot empty.
bool init_camera_ex(int index, const char* name, unsigned int, int flags);

/// init_camera_ex() without flags.
bool init_camera(int index);

/// init_camera() for a program that wants pictures: with the settings stored in the camera and the stream
/// started. Only the open itself can fail. Throws std::bad_alloc, with the slot empty.
bool open_camera(int index);

struct OpenedBySerial {
  int extra_error = 0;  ///< HELD, PERMISSION, CONFIGURATION or SYSTEM; failures beside these have a code
  int index = -1;
};

/// open_camera() of the camera with that serial number, wherever it is on the bus, at the lowest free index.
/// Nothing is sent to cameras that are open, here or in another program. IN_USE, NO_DEVICE, EMPTY_BUS. Throws
/// std::bad_alloc.
OpenedBySerial open_by_serial(std::string_view serial);

/// Leaves the camera as it is: that it is open is all that is asked.
bool reset_camera(const CameraContext& camera);

/// Ends the reader, closes the device and empties the slot. Calls that are still running in other
/// threads keep the context and the handle until they return. INDEX, NOT_OPEN.
bool free_camera(int index);

/// free_camera() after the stream was stopped and queries had time to end.
bool close_camera(int index);

/// Brings back an open camera whose cable was pulled or that was reset, by its serial number and wherever it
/// is on the bus now. Of several cameras of that number it takes none that is open or at the port of another
/// open one, and the one at its old port if it can. Settings, tables and index stay; the live settings are
/// sent to the camera again, and the stream starts with an empty ring.
///
/// NOT_OPEN when it was closed meanwhile; NO_DEVICE for a camera that never had a device, and while the
/// camera is not there: it then stays open without a device, and the call may be repeated. Queries in other
/// threads end with NO_FRAME meanwhile, other requests with NO_DEVICE, READ_REQUEST or WRITE_REQUEST; a
/// picture that a query is being made of is delivered, as no buffer of the ring moves. Throws
/// std::system_error when there is no thread to be had, with the camera as if it were not there.
bool reconnect(CameraContext& camera);

}  // namespace kxcam
