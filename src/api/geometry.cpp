// SPDX-License-Identifier: Apache-2.0
#include "api/extra_boundary.h"
#include "core/acquisition/image_query.h"
#include "core/acquisition/orientation.h"
#include "core/acquisition/readout.h"

using namespace kxcam;

uint32_t CameraGetResolutionCount(int camera, int* count) {
  return api::get(camera, count, get_resolution_count);
}

uint32_t CameraGetResolutionMax(int camera, int* width, int* height) {
  return api::with_camera(camera, get_resolution_max, width, height);
}

uint32_t CameraGetResolutionMode(int camera, int* mode) {
  return api::get(camera, mode, get_resolution_mode);
}

uint32_t CameraSetResolutionMode(int camera, int mode) {
  return api::with_camera(camera, set_resolution_mode, mode);
}

uint32_t CameraGetResolution(int camera, int preset, int* width, int* height) {
  return api::with_camera(camera, get_resolution, preset, width, height, nullptr);
}

uint32_t CameraSetResolution(int camera, int preset, int* width, int* height) {
  return api::with_camera(camera, select_resolution, preset, width, height);
}

uint32_t CameraSetROI(int camera, int x, int y, int width, int height) {
  return api::with_camera(camera, select_ROI, x, y, width, height);
}

uint32_t CameraSetLineHeight(int camera, int lines) {
  return api::with_camera(camera, set_line_height, lines);
}

uint32_t CameraGetLineHeight(int camera, int* lines) {
  return api::get(camera, lines, get_line_height);
}

uint32_t CameraSetLineTrigger(int camera, int on) {
  return api::with_camera(camera, set_line_trigger, on);
}

uint32_t CameraGetLineTrigger(int camera, int* on) {
  return api::get(camera, on, get_line_trigger);
}

uint32_t CameraSetMirrorX(int camera, bool on) {
  return api::with_camera(camera, set_mirror_x, on);
}

uint32_t CameraGetMirrorX(int camera, bool* on) {
  return api::get_switch(camera, on, get_mirror_x);
}

uint32_t CameraSetMirrorY(int camera, bool on) {
  return api::with_camera(camera, set_mirror_y, on);
}

uint32_t CameraGetMirrorY(int camera, bool* on) {
  return api::get_switch(camera, on, get_mirror_y);
}

uint32_t CameraSetRotate(int camera, int angle) {
  return api::with_camera(camera, turn, angle);
}

uint32_t CameraGetImageSize(int camera, int* width, int* height) {
  return api::with_camera(camera, get_image_size, width, height);
}

uint32_t CameraGetImageDepth(int camera, int* bits) {
  return api::with_camera(camera, get_image_depth, bits);
}

uint32_t CameraGetImageBufferSize(int camera, int* size, int format) {
  return api::with_camera(camera, get_image_buffer_size, size, format);
}

uint32_t CameraGetISPImageBufferSize(int camera, int* size, int width, int height, int format) {
  return api::with_camera(camera, get_isp_image_buffer_size, size, width, height, format);
}

int kxcam_set_region(int camera, int x, int y, int width, int height) {
  return api::cause_with_camera(
      camera, true, [&](CameraContext& context) { return select_region(context, x, y, width, height); });
}
