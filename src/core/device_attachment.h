// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/camera_context.h"

namespace kxcam {

/// Makes an open device the camera's and claims its image interface. A claim that fails, because another
/// program has the camera, shows in the transfers.
void attach_device(CameraContext& context, const DeviceHandle& handle);

/// Ends acquisition and the reader and lets go of the device, if there is one. Requests that are running in
/// other threads keep the handle until they return. Hold the context's attachment_mutex.
void detach_device(CameraContext& context);

}  // namespace kxcam
