// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "core/registry/camera_context.h"

namespace kxcam {

inline constexpr int kMaxCameras = 256;

using ContextRef = std::shared_ptr<CameraContext>;

/// False with code 1 unless `camera` is 0..255.
bool check_index(int camera);

/// The context at a valid index; null with code 3 when nothing is open there.
ContextRef context_at(int camera);

/// check_index() and context_at() in that order.
ContextRef find_camera(int camera);

/// The device of a camera; null with code 4 when it has none.
DeviceHandle find_device(const CameraContext& context);

/// find_camera() with the test of an argument in its place: after the index (code 1) and before the context
/// (3), false gives code 2.
ContextRef find_camera_if(int camera, bool argument_in_range);

/// A camera and its open device; false when there is either no camera (code 3, or 1) or no device (4).
struct OpenCamera {
  ContextRef context;
  DeviceHandle handle;

  explicit operator bool() const { return handle != nullptr; }
  CameraContext* operator->() const { return context.get(); }
};
OpenCamera find_open_camera(int camera);

/// Whether anything is open at a valid index.
bool is_occupied(int camera);

/// Puts a context into an empty slot; false with code 6 when the slot is taken.
bool occupy_slot(int camera, ContextRef context);

/// Empties a slot and returns what was in it.
ContextRef vacate_slot(int camera);

}  // namespace kxcam
