// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/acquisition/readout.h"
#include "core/acquisition/video.h"
#include "core/persistence/dead_pixel_store.h"
#include "core/persistence/parameter_sets.h"
#include "core/persistence/properties.h"
#include "core/picture/virtual_camera.h"
#include "core/registry/camera_context.h"
#include "core/registry/camera_open.h"
#include "core/registry/reconnect.h"
#include "sync/clock.h"

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
