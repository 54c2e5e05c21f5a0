// SPDX-License-Identifier: Apache-2.0
#include "core/registry/contexts.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "core/registry/discovery.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

struct Slots {
  std::mutex mutex;
  std::array<ContextRef, kMaxCameras> contexts;
};

// Never destroyed: a program may end, or unload its other libraries, while a reader thread runs.
Slots& slots() {
  static Slots& all = *new Slots;
  return all;
}

}  // namespace

bool check_index(int index) {
  return (index >= 0 && index < kMaxCameras) || fail(KXCAM_ERROR_INDEX);
}

ContextRef context_at(int index) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  ContextRef context = all.contexts[static_cast<size_t>(index)];
  if (context == nullptr) set_last_error(KXCAM_ERROR_NOT_OPEN);
  return context;
}

ContextRef find_camera(int index) {
  return find_camera_if(index, true);
}

ContextRef find_camera_if(int index, bool argument_in_range) {
  if (!check_index(index)) return nullptr;
  if (!argument_in_range) {
    set_last_error(KXCAM_ERROR_ARGUMENT);
    return nullptr;
  }
  return context_at(index);
}

bool is_occupied(int index) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return all.contexts[static_cast<size_t>(index)] != nullptr;
}

bool is_open(const CameraContext& camera) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return std::ranges::any_of(all.contexts, [&](const ContextRef& open) { return open.get() == &camera; });
}

ContextRef camera_of(libusb_device* device) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  const auto found = std::ranges::find_if(all.contexts, [device](const ContextRef& camera) {
    const DeviceHandle handle = camera == nullptr ? nullptr : camera->device.usb_handle.load();
    return handle != nullptr && libusb_get_device(handle.get()) == device;
  });
  return found == all.contexts.end() ? nullptr : *found;
}

bool is_attached(libusb_device* device) {
  return camera_of(device) != nullptr;
}

bool was_opened_at(const UsbPort& port, const SerialRecord& serial) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return std::ranges::any_of(all.contexts, [&](const ContextRef& camera) {
    return camera != nullptr && !camera->device.is_virtual && camera->parameter.serial_number == serial &&
           camera->device.port.load() == port;
  });
}

bool is_serial_open(std::string_view serial) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return std::ranges::any_of(all.contexts, [serial](const ContextRef& camera) {
    if (camera == nullptr || camera->device.is_virtual) return false;
    const SerialRecord& record = camera->parameter.serial_number;
    return trimmed({record.data(), record.size()}) == serial;
  });
}

bool occupy_slot(int index, ContextRef context) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  ContextRef& slot = all.contexts[static_cast<size_t>(index)];
  if (slot != nullptr) return fail(KXCAM_ERROR_IN_USE);
  slot = std::move(context);
  return true;
}

ContextRef vacate_slot(int index) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return std::exchange(all.contexts[static_cast<size_t>(index)], nullptr);
}

}  // namespace kxcam
