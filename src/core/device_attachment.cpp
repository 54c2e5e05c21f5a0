// SPDX-License-Identifier: Apache-2.0
#include "core/device_attachment.h"

#include "core/frame_reader.h"
#include "core/timing.h"
#include "usb/kxusb.h"

namespace kxcam {

namespace {
constexpr int kQuietTimeMs = 50;
}

void attach_device(CameraContext& context, const DeviceHandle& handle) {
  context.usb_speed = kxusb_get_device_speed(libusb_get_device(handle.get())) - 1;
  context.usb_handle.store(handle);
  kxusb_claim_interface(handle.get(), kImageInterface);
}

void detach_device(CameraContext& context) {
  context.running = false;
  const DeviceHandle handle = context.usb_handle.load();
  if (handle == nullptr) return;
  sysdelay(kQuietTimeMs);
  join_reader(context);
  kxusb_release_interface(handle.get(), kImageInterface);
  context.usb_handle.store(nullptr);
}

}  // namespace kxcam
