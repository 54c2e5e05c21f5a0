// SPDX-License-Identifier: Apache-2.0
#include "core/reconnect.h"

#include <mutex>

#include "core/contexts.h"
#include "core/device_attachment.h"
#include "core/discovery.h"
#include "core/frame_reader.h"
#include "core/last_error.h"
#include "core/parameter_sets.h"
#include "core/sensor_family.h"
#include "core/video.h"

namespace kxcam {

namespace {

void wake_sensor(const CameraContext& context, libusb_device_handle* handle) {
  constexpr int32_t kLastFirmwareToWake = 0x8000;
  const auto wake = context.family.wake_sensor;
  if (wake != nullptr && context.firmware_version <= kLastFirmwareToWake)
    wake(handle, context.firmware_version);
}

void resume_acquisition(CameraContext& context) {
  context.ring->drop_ready_frames();
  context.running = true;
  try {
    start_reader(context);
  } catch (...) {
    detach_device(context);
    throw;
  }
}

/// Everything up to a running reader.
bool change_device(int camera, const ContextRef& context) {
  const std::lock_guard attachment(context->attachment_mutex);
  // Closed while waiting for the lock: whoever did that was promised that the device is let go.
  if (context_at(camera) != context) return fail(KXCAM_ERROR_NOT_OPEN);
  detach_device(*context);
  const DeviceHandle handle = open_camera_with_serial(context->parameter.serial_number, context->model().PID);
  if (handle == nullptr) return fail(KXCAM_ERROR_NO_DEVICE);
  attach_device(*context, handle);
  if (context->ring == nullptr) return true;
  wake_sensor(*context, handle.get());
  resume_acquisition(*context);
  return true;
}

}  // namespace

bool reconnect(int camera) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (context->is_virtual) return fail(KXCAM_ERROR_NO_DEVICE);
  if (!change_device(camera, context)) return false;
  if (context->ring == nullptr) return true;
  // The camera is back from here on, whatever becomes of single settings.
  set_parameter(camera);
  start_video(camera);
  return true;
}

}  // namespace kxcam
