// SPDX-License-Identifier: Apache-2.0
#include "core/registry/reconnect.h"

#include <mutex>

#include "core/acquisition/frame_reader.h"
#include "core/acquisition/video.h"
#include "core/persistence/parameter_sets.h"
#include "core/registry/camera_open.h"
#include "core/registry/contexts.h"
#include "core/registry/discovery.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// Gives the camera its device again, with acquisition ended and the ring empty; null when it is not there.
DeviceHandle change_device(CameraContext& context) {
  detach_device(context);
  if (context.stream.ring != nullptr) context.stream.ring->drop_ready_frames();
  DeviceHandle handle = open_camera_with_serial(context.parameter.serial_number, context.model().PID);
  if (handle == nullptr) {
    set_last_error(KXCAM_ERROR_NO_DEVICE);
    return nullptr;
  }
  attach_device(context, handle);
  return handle;
}

void resume_acquisition(int camera, CameraContext& context, libusb_device_handle* handle) {
  wake_sensor(context, handle);
  // Before queries may wait for frames again: single settings drop the frames of the old one, and would
  // have to wait for the end of every query. Whatever becomes of them, the camera is back.
  set_parameter(camera);
  context.stream.running = true;
  try {
    start_reader(context);
  } catch (...) {
    detach_device(context);
    throw;
  }
  start_video(camera);
}

}  // namespace

bool reconnect(int camera) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (context->device.is_virtual) return fail(KXCAM_ERROR_NO_DEVICE);
  const std::lock_guard attachment(context->stream.attachment_mutex);
  // Closed while waiting for the lock: whoever did that was promised that the device is let go.
  if (context_at(camera) != context) return fail(KXCAM_ERROR_NOT_OPEN);
  const DeviceHandle handle = change_device(*context);
  if (handle == nullptr) return false;
  if (context->stream.ring != nullptr) resume_acquisition(camera, *context, handle.get());
  return true;
}

}  // namespace kxcam
