// SPDX-License-Identifier: Apache-2.0
#include "core/picture/picture_settings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/registry/camera_context.h"
#include "isp/color_tables.h"
#include "usb/last_error.h"

namespace kxcam {

// Tone and colour: values are stored inside the updates of the tables they are built into, so that the last
// value and the last table of two concurrent setters belong together.

namespace {

constexpr double kLeastToneFactor = 0.3;
constexpr double kGreatestToneFactor = 2.0;
constexpr double kGreatestSaturation = 2.0;

bool in_range(double value, double least, double greatest) {
  return value >= least && value <= greatest;
}

bool enhanced(const CameraParameter& parameter) {
  return (parameter.isp_flags & kEnhancement) != 0;
}

void rebuild_contrast(ToneCurves& curves, const CameraParameter& parameter) {
  curves.contrast_curve = build_contrast_curve(parameter.contrast, parameter.black_level);
  compose(curves);
}

void rebuild_matrix(ColorMatrix& matrix, const CameraParameter& parameter) {
  std::array<double, 9> ccm{};
  std::ranges::copy(enhanced(parameter) ? parameter.enhanced_ccm : parameter.default_ccm, ccm.begin());
  init_saturation_matrix(matrix.color_matrix_table, parameter.saturation, ccm);
}

int table_entries(int length) {
  return std::clamp(length, 0, static_cast<int>(UserLut().size()));
}

}  // namespace

bool is_tone_factor(double value) {
  return in_range(value, kLeastToneFactor, kGreatestToneFactor);
}

bool set_gamma(CameraContext& camera, double gamma) {
  if (!is_tone_factor(gamma)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.picture.curves.update([&](ToneCurves& curves) {
    camera.parameter.gamma = gamma;
    curves.gamma_curve = build_gamma_curve(gamma);
    compose(curves);
  });
  return true;
}

double get_gamma(const CameraContext& camera) {
  return camera.parameter.gamma;
}

bool set_contrast(CameraContext& camera, double contrast) {
  if (!is_tone_factor(contrast)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.picture.curves.update([&](ToneCurves& curves) {
    camera.parameter.contrast = contrast;
    rebuild_contrast(curves, camera.parameter);
  });
  return true;
}

double get_contrast(const CameraContext& camera) {
  return camera.parameter.contrast;
}

bool is_black_level(int level) {
  return level >= 0 && level <= 255;
}

bool set_black_level(CameraContext& camera, int level) {
  if (!is_black_level(level)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.picture.curves.update([&](ToneCurves& curves) {
    camera.parameter.black_level = level;
    rebuild_contrast(curves, camera.parameter);
  });
  return true;
}

int get_black_level(const CameraContext& camera) {
  return camera.parameter.black_level;
}

bool is_saturation(double value) {
  return in_range(value, 0.0, kGreatestSaturation);
}

bool set_saturation(CameraContext& camera, double saturation) {
  if (!is_saturation(saturation)) return fail(KXCAM_ERROR_ARGUMENT);
  camera.picture.matrix.update([&](ColorMatrix& matrix) {
    camera.parameter.saturation = saturation;
    rebuild_matrix(matrix, camera.parameter);
  });
  return true;
}

double get_saturation(const CameraContext& camera) {
  return camera.parameter.saturation;
}

bool set_enhancement(CameraContext& camera, bool on) {
  camera.picture.curves.update(
      [&](ToneCurves& curves) { curves.gamma_curve = build_gamma_curve(camera.parameter.gamma); });
  camera.picture.matrix.update([&](ColorMatrix& matrix) {
    camera.parameter.isp_flags.set_bits(kEnhancement, on);
    rebuild_matrix(matrix, camera.parameter);
  });
  return true;
}

int get_enhancement(const CameraContext& camera) {
  return enhanced(camera.parameter) ? 1 : 0;
}

void set_ccm(CameraContext& camera, std::span<const double, 9> ccm) {
  // The tables stay as they are; the update only keeps a rebuild from seeing half of the matrix.
  camera.picture.matrix.update(
      [&](ColorMatrix&) { std::ranges::copy(ccm, camera.parameter.enhanced_ccm.begin()); });
}

void get_ccm(const CameraContext& camera, std::span<double, 9> ccm) {
  std::ranges::copy(camera.parameter.enhanced_ccm, ccm.begin());
}

bool set_lut(CameraContext& camera, const uint8_t* lut, int length) {
  camera.picture.user_lut.update(
      [&](UserLut& table) { std::copy_n(lut, table_entries(length), table.begin()); });
  return true;
}

bool get_lut(const CameraContext& camera, uint8_t* lut, int* length) {
  if (lut == nullptr) {
    *length = camera.model().COLOR_MODE == kMono12 ? static_cast<int>(UserLut().size()) : 256;
    return true;
  }
  std::copy_n(camera.picture.user_lut.load()->begin(), table_entries(*length), lut);
  return true;
}

// Corrections of the raw frame.

namespace {

/// The resolution mode in which rows are not corrected, whatever the caller has measured.
constexpr uint8_t kModeWithoutRowTable = 3;

bool is_on_unless(const CameraContext& camera, IspFlag off_flag) {
  return (camera.parameter.isp_flags & off_flag) == 0;
}

std::span<const double> entries(const double* table, int length) {
  return {table, static_cast<size_t>(length)};
}

}  // namespace

bool set_denoise(CameraContext& camera, bool on) {
  camera.parameter.isp_flags.set_bits(kDespeckleOff, !on);
  return true;
}

int get_denoise(const CameraContext& camera) {
  return is_on_unless(camera, kDespeckleOff) ? 1 : 0;
}

bool set_fpn(CameraContext& camera, bool on) {
  camera.parameter.isp_flags.set_bits(kFixedPatternOff, !on);
  return true;
}

int get_fpn(const CameraContext& camera) {
  return is_on_unless(camera, kFixedPatternOff) ? 1 : 0;
}

bool set_fpn_data(CameraContext& camera, const double* col_even, const double* col_odd, const double* row,
                  int ncols, int nrows) {
  const auto field = camera.picture.flat_field.load();  // lengths never change
  if (ncols > std::ssize(field->column_table_a()) || nrows > std::ssize(field->row_table())) {
    return fail(KXCAM_ERROR_ARGUMENT);
  }
  const bool has_columns = col_even != nullptr && col_odd != nullptr && ncols >= 1;
  const bool has_rows = row != nullptr && nrows >= 1;
  const bool takes_rows = camera.parameter.resolution_mode != kModeWithoutRowTable;
  camera.picture.flat_field.update([&](FlatField& next) {
    if (has_columns) next.set_columns(entries(col_even, ncols), entries(col_odd, ncols));
    if (has_rows && takes_rows) next.set_rows(entries(row, nrows));
    if (has_rows && !takes_rows) next.clear_rows();
  });
  return true;
}

bool set_interpolation(CameraContext& camera, int value) {
  camera.parameter.interpolation = static_cast<uint8_t>(value);
  return true;
}

int get_interpolation(const CameraContext& camera) {
  return camera.parameter.interpolation;
}

}  // namespace kxcam
