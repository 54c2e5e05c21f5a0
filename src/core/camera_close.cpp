// SPDX-License-Identifier: Apache-2.0
#include "core/camera_close.h"

#include "core/contexts.h"
#include "core/frame_reader.h"
#include "core/last_error.h"
#include "core/timing.h"
#include "usb/kxusb.h"

namespace kxcam {

namespace {

constexpr int kQuietTimeMs = 50;

void close_device(CameraContext& context, libusb_device_handle* handle) {
  sysdelay(kQuietTimeMs);
  join_reader(context);
  kxusb_release_interface(handle, kImageInterface);
  context.usb_handle.store(nullptr);
}

}  // namespace

bool free_camera(int camera) {
  if (!check_index(camera)) return false;
  // The slot goes first: of two closes only one gets the context.
  const ContextRef context = vacate_slot(camera);
  if (context == nullptr) return fail(KXCAM_ERROR_NOT_OPEN);
  const WriteLock writing(context->context_lock);
  context->running = false;
  if (const DeviceHandle handle = context->usb_handle.load()) close_device(*context, handle.get());
  return true;
}

}  // namespace kxcam
