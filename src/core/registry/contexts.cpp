// SPDX-License-Identifier: Apache-2.0
#include "core/registry/contexts.h"

#include <array>
#include <mutex>

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

bool check_index(int camera) {
  return (camera >= 0 && camera < kMaxCameras) || fail(KXCAM_ERROR_INDEX);
}

ContextRef context_at(int camera) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  ContextRef context = all.contexts[static_cast<size_t>(camera)];
  if (context == nullptr) set_last_error(KXCAM_ERROR_NOT_OPEN);
  return context;
}

ContextRef find_camera(int camera) {
  return check_index(camera) ? context_at(camera) : nullptr;
}

DeviceHandle find_device(const CameraContext& context) {
  DeviceHandle handle = context.device.usb_handle.load();
  if (handle == nullptr) set_last_error(KXCAM_ERROR_NO_DEVICE);
  return handle;
}

ContextRef find_camera_if(int camera, bool argument_in_range) {
  if (!check_index(camera)) return nullptr;
  if (!argument_in_range) {
    set_last_error(KXCAM_ERROR_ARGUMENT);
    return nullptr;
  }
  return context_at(camera);
}

OpenCamera find_open_camera(int camera) {
  OpenCamera open{.context = find_camera(camera), .handle = nullptr};
  if (open.context != nullptr) open.handle = find_device(*open.context);
  return open;
}

bool is_occupied(int camera) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return all.contexts[static_cast<size_t>(camera)] != nullptr;
}

bool occupy_slot(int camera, ContextRef context) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  ContextRef& slot = all.contexts[static_cast<size_t>(camera)];
  if (slot != nullptr) return fail(KXCAM_ERROR_IN_USE);
  slot = std::move(context);
  return true;
}

ContextRef vacate_slot(int camera) {
  Slots& all = slots();
  const std::lock_guard lock(all.mutex);
  return std::exchange(all.contexts[static_cast<size_t>(camera)], nullptr);
}

}  // namespace kxcam
