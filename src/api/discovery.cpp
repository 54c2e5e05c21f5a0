// SPDX-License-Identifier: Apache-2.0
#include "core/registry/discovery.h"

#include "api/boundary.h"
#include "usb/last_error.h"

using namespace kxcam;

uint32_t CameraGetVersion(int* major, int* minor) {
  get_api_version(major, minor);
  return api::kSuccess;
}

uint32_t CameraGetFirmVersion(int camera, int* version) {
  return api::run([&] { return get_firm_version(camera, version); });
}

uint32_t CameraGetCount(int* count) {
  *count = 0;
  api::run([&] {
    *count = get_camera_count();
    return true;
  });
  return api::kSuccess;
}

uint32_t CameraGetName(int camera, char* serial, char* name) {
  return api::run([&] { return get_camera_name(camera, serial, name, nullptr, nullptr) >= 0; });
}

uint32_t CameraGetID(int camera, int* model_row, int* product_id) {
  return api::run([&] { return get_camera_name(camera, nullptr, nullptr, model_row, product_id) >= 0; });
}

uint32_t CameraGetLastError(int* error) {
  *error = get_last_error();
  return api::kSuccess;
}
