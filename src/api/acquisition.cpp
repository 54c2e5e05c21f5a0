// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/acquisition/image_query.h"
#include "core/picture/isp.h"

using namespace kxcam;

namespace {

/// A query leaves no code for an index out of range.
template <class Query>
uint32_t query(int index, Query operation) {
  const bool possible = index >= 0 && index < kMaxCameras;
  return possible ? api::with_camera(index, operation) : api::run([] { return false; });
}

}  // namespace

uint32_t CameraQueryImage(int camera, uint8_t* image, int* size, int format) {
  return query(camera, [=](CameraContext& context) { return query_image(context, image, size, format); });
}

uint32_t CameraQueryImage2(int camera, uint8_t* image, int* size, int* index, int format) {
  return query(camera,
               [=](CameraContext& context) { return query_image2(context, image, size, index, format); });
}

uint32_t CameraQueryImageLV(int camera, uint32_t* image, int* size, int format) {
  return query(camera, [=](CameraContext& context) { return query_image_lv(context, image, size, format); });
}

uint32_t CameraISP(int camera, uint8_t* in, uint8_t* out, int width, int height, int format) {
  return api::with_camera(camera, isp, in, out, width, height, format);
}

uint32_t CameraClearHostBuffer(int camera) {
  return api::with_camera(camera, clear_host_buffer);
}

uint32_t CameraSetTimeout(int camera, int milliseconds) {
  return api::with_camera(camera, set_time_out, milliseconds);
}

uint32_t CameraGetTimeout(int camera, int* milliseconds) {
  return api::get(camera, milliseconds, get_time_out);
}
