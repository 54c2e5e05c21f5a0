// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/picture/virtual_camera.h"
#include "core/registry/camera_open.h"
#include "core/registry/discovery.h"
#include "usb/last_error.h"

using namespace kxcam;

uint32_t CameraGetVersion(int* major, int* minor) {
  return api::run([&] {
    get_api_version(major, minor);
    return true;
  });
}

uint32_t CameraGetFirmVersion(int camera, int* version) {
  return api::with_camera(camera, get_firm_version, version);
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

uint32_t CameraInit(int camera) {
  return api::run([&] { return open_camera(camera); });
}

uint32_t CameraInitIO(int camera) {
  return api::run([&] { return init_camera_ex(camera, nullptr, 0, kOpenWithoutAcquisition); });
}

uint32_t CameraInitVirtual(int camera, int product_id, const ISPParam* param) {
  return api::run([&] { return init_camera_virtual(camera, product_id, param); });
}

uint32_t CameraFree(int camera) {
  api::run([&] { return close_camera(camera); });
  return api::kSuccess;
}

uint32_t CameraReset(int camera) {
  return api::with_camera(camera, reset_camera);
}

uint32_t CameraReconnect(int camera) {
  return api::with_camera(camera, reconnect);
}
