// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/persistence/identity.h"
#include "core/persistence/parameter_sets.h"
#include "core/registry/camera_parameter.h"

using namespace kxcam;

uint32_t CameraSaveParameter(int camera, int slot) {
  return api::run([&] { return save_parameter(camera, slot); });
}

uint32_t CameraLoadParameter(int camera, int slot) {
  return api::run([&] { return load_parameter(camera, slot); });
}

uint32_t CameraReadSerialNumber(int camera, char* buffer, int size) {
  if (buffer == nullptr || size < kSerialNumberLength) return api::kFailure;
  return api::run([&] { return get_serialnumber(camera, buffer, size); });
}

uint32_t CameraReadUserData(int camera, char* buffer, int length) {
  return api::run([&] { return read_user_data(camera, buffer, length); });
}

uint32_t CameraWriteUserData(int camera, const char* buffer, int length) {
  return api::run([&] { return write_user_data(camera, buffer, length); });
}
