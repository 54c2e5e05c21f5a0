// SPDX-License-Identifier: Apache-2.0
#include "core/picture/virtual_camera.h"

#include <span>

#include "core/acquisition/orientation.h"
#include "core/picture/picture_settings.h"
#include "core/picture/white_balance_settings.h"
#include "core/registry/camera_context.h"
#include "core/registry/contexts.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// What a camera is set to without a record; its black level is not that of a camera with a device.
constexpr ISPParam kDefaults = {
    .ccm = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0},
    .gamma = 1.0,
    .saturation = 1.0,
    .contrast = 1.0,
    .wb_gain_r = 1.0,
    .wb_gain_g = 1.0,
    .wb_gain_b = 1.0,
    .black_level = 5,
    .rotate = 0,
    .mirror_x = 0,
    .mirror_y = 0,
    .enhancement = 0,
    .fpn = 0,
    .denoise = 0,
};

int32_t model_row(int product_id) {
  const int row = find_model(static_cast<uint32_t>(product_id));
  return row == kUnknownModel ? 0 : row;
}

ContextRef make_context(int32_t row) {
  auto context = std::make_shared<CameraContext>(row);
  context->device.is_virtual = true;
  context->device.open_flags = kOpenWithoutAcquisition;
  context->picture.flat_field.store(std::make_shared<const FlatField>(context->model().SENSOR_ARRAY));
  set_full_frame(*context);
  return context;
}

void apply_settings(CameraContext& camera, const ISPParam& param) {
  set_gamma(camera, param.gamma);
  set_saturation(camera, param.saturation);
  set_contrast(camera, param.contrast);
  set_wb_gain(camera, param.wb_gain_r, param.wb_gain_g, param.wb_gain_b);
  set_black_level(camera, param.black_level);
  set_rotate(camera, param.rotate != 0);
  set_mirror_x(camera, param.mirror_x != 0);
  set_mirror_y(camera, param.mirror_y != 0);
  set_enhancement(camera, param.enhancement != 0);
  set_ccm(camera, std::span(param.ccm));
  set_fpn(camera, param.fpn != 0);
  set_denoise(camera, param.denoise != 0);
}

}  // namespace

bool init_camera_virtual(int index, int product_id, const ISPParam* param) {
  if (!check_index(index)) return false;
  if (is_occupied(index)) return fail(KXCAM_ERROR_IN_USE);
  const ContextRef camera = make_context(model_row(product_id));
  if (!occupy_slot(index, camera)) return false;
  apply_settings(*camera, param != nullptr ? *param : kDefaults);
  return true;
}

}  // namespace kxcam
