// SPDX-License-Identifier: Apache-2.0
#include "core/picture/correction_settings.h"

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/registry/camera_context.h"
#include "usb/last_error.h"

namespace kxcam {

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
