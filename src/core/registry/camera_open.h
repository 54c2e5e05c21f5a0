// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/registry/camera_context.h"

namespace kxcam {

/// Makes an open device the camera's and claims its image interface. A claim that fails, because another
/// program has the camera, shows in the transfers.
void attach_device(CameraContext& context, const DeviceHandle& handle);

/// Writes what the sensor needs behind firmware that does not set it up by itself. `firmware_version` is
/// known.
void wake_sensor(const CameraContext& context, libusb_device_handle* handle);

/// Ends acquisition and the reader and lets go of the device, if there is one. Requests that are running in
/// other threads keep the handle until they return. Hold the context's attachment_mutex.
void detach_device(CameraContext& context);

/// Opens the camera at that position on the bus into the slot of the same index: context, device,
/// buffers and reader thread, without restoring settings or starting the stream.
///
/// `name` and the third argument are accepted and ignored; `flags` are OpenFlag bits. Codes 1, 6; 5 on an
/// empty bus; 4 when the device is gone or its model unknown. Throws std::bad_alloc, with the slot empty.
bool init_camera_ex(int camera, const char* name, unsigned int, int flags);

/// init_camera_ex() without flags.
bool init_camera(int camera);

/// Only checks that a camera is open at the index (codes 1, 3); the camera is not touched.
bool reset_camera(int camera);

/// Ends the reader, closes the device and empties the slot. Calls that are still running in other
/// threads keep the context and the handle until they return. Codes 1, 3.
bool free_camera(int camera);

}  // namespace kxcam
