// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/camera_close.h"
#include "core/camera_open.h"
#include "core/dead_pixel_store.h"
#include "core/open_flags.h"
#include "core/parameter_sets.h"
#include "core/reconnect.h"
#include "core/resolution.h"
#include "core/stored_geometry.h"
#include "core/timing.h"
#include "core/video.h"
#include "isp/virtual_camera.h"

using namespace kxcam;

namespace {
constexpr int kWindDownMs = 100;
}

uint32_t CameraInit(int camera) {
  return api::run([&] {
    if (!init_camera(camera)) return false;
    // The camera is open from here on, whatever becomes of the rest.
    load_parameter(camera, 0);
    restore_geometry(camera);
    load_deadpixel(camera, nullptr);
    // Programs rely on the full sensor after an open, whatever geometry the camera was left with.
    set_resolution(camera, 0, nullptr, nullptr, nullptr);
    start_video(camera);
    return true;
  });
}

uint32_t CameraInitIO(int camera) {
  return api::run([&] { return init_camera_ex(camera, nullptr, 0, kOpenWithoutAcquisition); });
}

uint32_t CameraInitVirtual(int camera, int product_id, const ISPParam* param) {
  return api::run([&] { return init_camera_virtual(camera, product_id, param); });
}

uint32_t CameraFree(int camera) {
  api::run([&] {
    abort_query(camera);
    sysdelay(kWindDownMs);
    stop_video(camera);
    return free_camera(camera);
  });
  return api::kSuccess;
}

uint32_t CameraReset(int camera) {
  return api::run([&] { return reset_camera(camera); });
}

uint32_t CameraReconnect(int camera) {
  return api::run([&] { return reconnect(camera); });
}
