// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"

#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {

std::array<double, 9> values(const Ccm& ccm) {
  std::array<double, 9> plain{};
  for (size_t i = 0; i < plain.size(); ++i) plain[i] = ccm[i];
  return plain;
}

std::shared_ptr<const ToneCurves> initial_curves(const CameraParameter& parameter) {
  auto curves = std::make_shared<ToneCurves>();
  curves->gamma_curve = build_gamma_curve(parameter.gamma);
  curves->contrast_curve = build_contrast_curve(parameter.contrast, parameter.black_level);
  compose(*curves);
  return curves;
}

std::shared_ptr<const ColorMatrix> initial_matrix(const CameraParameter& parameter) {
  auto matrix = std::make_shared<ColorMatrix>();
  init_saturation_matrix(matrix->color_matrix_table, parameter.saturation, values(parameter.default_ccm));
  init_saturation_matrix(matrix->grey_matrix_table, 0.0, values(parameter.default_ccm));
  return matrix;
}

std::shared_ptr<const UserLut> initial_lut() {
  auto lut = std::make_shared<UserLut>();
  for (size_t i = 0; i < lut->size(); ++i) (*lut)[i] = static_cast<uint8_t>(i >> 4);
  return lut;
}

}  // namespace

CameraContext::CameraContext(int32_t model_row)
    : model_index(model_row), family(find_sensor_family(model().MID)) {
  stream.index_map.store(std::make_shared<const IndexMap>());
  picture.curves.store(initial_curves(parameter));
  picture.matrix.store(initial_matrix(parameter));
  picture.user_lut.store(initial_lut());
  picture.dead_pixels.store(std::make_shared<const DeadPixelList>());
  picture.flat_field.store(std::make_shared<const FlatField>());
}

}  // namespace kxcam
