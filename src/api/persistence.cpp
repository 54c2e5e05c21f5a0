// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/persistence/identity.h"
#include "core/persistence/parameter_sets.h"

using namespace kxcam;

uint32_t CameraSaveParameter(int camera, int slot) {
  return api::with_camera(camera, save_parameter, slot);
}

uint32_t CameraLoadParameter(int camera, int slot) {
  return api::with_camera(camera, load_parameter, slot);
}

uint32_t CameraReadSerialNumber(int camera, char* buffer, int size) {
  if (buffer == nullptr || !has_room_for_serial(size)) return api::kFailure;
  return api::with_camera(camera, get_serialnumber, buffer, size);
}

namespace {

/// Nothing to transfer succeeds with or without a camera.
template <class Buffer, class Transfer>
uint32_t transfer_user_data(int index, Buffer buffer, int length, Transfer transfer) {
  if (length <= 0) return check_index(index) ? api::kSuccess : api::kFailure;
  return api::with_camera_if(index, is_user_data_length(length), transfer, buffer, length);
}

}  // namespace

uint32_t CameraReadUserData(int camera, char* buffer, int length) {
  return transfer_user_data(camera, buffer, length, read_user_data);
}

uint32_t CameraWriteUserData(int camera, const char* buffer, int length) {
  return transfer_user_data(camera, buffer, length, write_user_data);
}
