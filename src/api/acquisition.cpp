// SPDX-License-Identifier: Apache-2.0
#include "api/boundary.h"
#include "core/acquisition/image_query.h"
#include "core/acquisition/video.h"
#include "core/picture/correction_settings.h"
#include "core/picture/isp.h"

using namespace kxcam;

uint32_t CameraQueryImage(int camera, uint8_t* image, int* size, int format) {
  return api::run([&] { return query_image(camera, image, size, format); });
}

uint32_t CameraQueryImage2(int camera, uint8_t* image, int* size, int* index, int format) {
  return api::run([&] { return query_image2(camera, image, size, index, format); });
}

uint32_t CameraQueryImageLV(int camera, uint32_t* image, int* size, int format) {
  return api::run([&] { return query_image_lv(camera, image, size, format); });
}

uint32_t CameraISP(int camera, uint8_t* in, uint8_t* out, int width, int height, int format) {
  return api::run([&] { return isp(camera, in, out, width, height, format); });
}

uint32_t CameraClearHostBuffer(int camera) {
  return api::run([&] { return clear_host_buffer(camera); });
}

uint32_t CameraSetTimeout(int camera, int milliseconds) {
  return api::run([&] { return set_time_out(camera, milliseconds); });
}

uint32_t CameraGetTimeout(int camera, int* milliseconds) {
  return api::run([&] { return get_time_out(camera, milliseconds); });
}

uint32_t CameraSetInterpolation(int camera, int value) {
  return api::run([&] { return set_interpolation(camera, value); });
}

uint32_t CameraGetInterpolation(int camera, int* value) {
  return api::get(value, [&] { return get_interpolation(camera); });
}
