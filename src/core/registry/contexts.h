// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>

#include "core/registry/camera_context.h"

namespace kxcam {

inline constexpr int kMaxCameras = 256;

using ContextRef = std::shared_ptr<CameraContext>;

/// False with INDEX unless `index` is 0..255.
bool check_index(int index);

/// The camera at a valid index; null with NOT_OPEN when nothing is open there.
ContextRef context_at(int index);

/// check_index() and context_at() in that order.
ContextRef find_camera(int index);

/// The same with the test of an argument between the two: false gives ARGUMENT.
ContextRef find_camera_if(int index, bool argument_in_range);

/// Whether anything is open at a valid index.
bool is_occupied(int index);

/// Whether the camera is still in its slot.
bool is_open(const CameraContext& camera);

/// The open camera whose device that is; null when it is nobody's.
ContextRef camera_of(libusb_device* device);
/// Whether that device is an open camera's.
bool is_attached(libusb_device* device);

/// Whether an open camera with that serial number has its device at that port, or had it there last.
bool was_opened_at(const UsbPort& port, const SerialRecord& serial);

/// Whether a camera with that serial number is open; without the blanks at its end.
bool is_serial_open(std::string_view serial);

/// Puts a context into an empty slot; false with IN_USE when the slot is taken.
bool occupy_slot(int index, ContextRef context);

/// Empties a slot and returns what was in it.
ContextRef vacate_slot(int index);

}  // namespace kxcam
