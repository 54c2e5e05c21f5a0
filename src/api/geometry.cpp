// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/acquisition/image_size.h"
#include "core/acquisition/line_scan.h"
#include "core/acquisition/orientation.h"
#include "core/acquisition/readout.h"
#include "core/control/exposure.h"

using namespace kxcam;

namespace {

bool toggle_half_turn(int camera, int mirror_x, int mirror_y) {
  return set_mirror_x(camera, mirror_x == 0) && set_mirror_y(camera, mirror_y == 0);
}

/// Angles are relative to the present state, and 180 and 270 toggle the rotation as well.
bool turn(int camera, int angle) {
  const int mirror_x = get_mirror_x(camera);
  const int mirror_y = get_mirror_y(camera);
  const int rotate = get_rotate(camera);
  if (mirror_x < 0 || mirror_y < 0 || rotate < 0) return false;
  switch (angle) {
    case 90:
    case 360:
      return set_rotate(camera, rotate == 0);
    case 180:
    case 270:
      return toggle_half_turn(camera, mirror_x, mirror_y) && set_rotate(camera, rotate == 0);
    default:
      return true;
  }
}

/// Exposure registers depend on the size of the readout.
void reapply_exposure(int camera) {
  set_exposure(camera, get_exposure(camera));
}

}  // namespace

uint32_t CameraGetResolutionCount(int camera, int* count) {
  return api::get(count, [&] { return get_resolution_count(camera); });
}

uint32_t CameraGetResolutionMax(int camera, int* width, int* height) {
  return api::run([&] { return get_resolution_max(camera, width, height); });
}

uint32_t CameraGetResolutionMode(int camera, int* mode) {
  return api::get(mode, [&] { return get_resolution_mode(camera); });
}

uint32_t CameraSetResolutionMode(int camera, int mode) {
  return api::run([&] { return set_resolution_mode(camera, mode); });
}

uint32_t CameraGetResolution(int camera, int preset, int* width, int* height) {
  return api::run([&] { return get_resolution(camera, preset, width, height, nullptr); });
}

uint32_t CameraSetResolution(int camera, int preset, int* width, int* height) {
  return api::run([&] {
    if (!set_resolution(camera, preset, width, height, nullptr)) return false;
    reapply_exposure(camera);
    return true;
  });
}

uint32_t CameraSetROI(int camera, int x, int y, int width, int height) {
  return api::run([&] {
    if (!set_ROI(camera, x, y, width, height)) return false;
    reapply_exposure(camera);
    return true;
  });
}

uint32_t CameraSetLineHeight(int camera, int lines) {
  return api::run([&] { return set_line_height(camera, lines); });
}

uint32_t CameraGetLineHeight(int camera, int* lines) {
  return api::get(lines, [&] { return get_line_height(camera); });
}

uint32_t CameraSetLineTrigger(int camera, int on) {
  return api::run([&] { return set_line_trigger(camera, on); });
}

uint32_t CameraGetLineTrigger(int camera, int* on) {
  return api::get(on, [&] { return get_line_trigger(camera); });
}

uint32_t CameraSetMirrorX(int camera, bool on) {
  return api::run([&] { return set_mirror_x(camera, on); });
}

uint32_t CameraGetMirrorX(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_mirror_x(camera); });
}

uint32_t CameraSetMirrorY(int camera, bool on) {
  return api::run([&] { return set_mirror_y(camera, on); });
}

uint32_t CameraGetMirrorY(int camera, bool* on) {
  return api::get_switch(on, [&] { return get_mirror_y(camera); });
}

uint32_t CameraSetRotate(int camera, int angle) {
  return api::run([&] { return turn(camera, angle); });
}

uint32_t CameraGetImageSize(int camera, int* width, int* height) {
  return api::run([&] { return get_image_size(camera, width, height); });
}

uint32_t CameraGetImageDepth(int camera, int* bits) {
  return api::run([&] { return get_image_depth(camera, bits); });
}

uint32_t CameraGetImageBufferSize(int camera, int* size, int format) {
  return api::run([&] { return get_image_buffer_size(camera, size, format); });
}

uint32_t CameraGetISPImageBufferSize(int camera, int* size, int width, int height, int format) {
  return api::run([&] { return get_isp_image_buffer_size(camera, size, width, height, format); });
}
