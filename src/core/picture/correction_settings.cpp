// SPDX-License-Identifier: Apache-2.0
#include "core/picture/correction_settings.h"

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/registry/camera_parameter.h"
#include "core/registry/contexts.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

/// The resolution mode in which rows are not corrected, whatever the caller has measured.
constexpr uint8_t kModeWithoutRowTable = 3;

bool set_unless(int camera, IspFlag off_flag, bool on) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->parameter.isp_flags.set_bits(off_flag, !on);
  return true;
}

int is_on_unless(int camera, IspFlag off_flag) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1;
  return (ctx->parameter.isp_flags & off_flag) != 0 ? 0 : 1;
}

std::span<const double> entries(const double* table, int length) {
  return {table, static_cast<size_t>(length)};
}

}  // namespace

bool set_denoise(int camera, bool on) {
  return set_unless(camera, kDespeckleOff, on);
}

int get_denoise(int camera) {
  return is_on_unless(camera, kDespeckleOff);
}

bool set_fpn(int camera, bool on) {
  return set_unless(camera, kFixedPatternOff, on);
}

int get_fpn(int camera) {
  return is_on_unless(camera, kFixedPatternOff);
}

bool set_fpn_data(int camera, const double* col_even, const double* col_odd, const double* row, int ncols,
                  int nrows) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  const auto field = ctx->picture.flat_field.load();  // lengths never change
  if (ncols > std::ssize(field->column_table_a()) || nrows > std::ssize(field->row_table())) {
    return fail(KXCAM_ERROR_ARGUMENT);
  }
  const bool has_columns = col_even != nullptr && col_odd != nullptr && ncols >= 1;
  const bool has_rows = row != nullptr && nrows >= 1;
  const bool takes_rows = ctx->parameter.resolution_mode != kModeWithoutRowTable;
  ctx->picture.flat_field.update([&](FlatField& next) {
    if (has_columns) next.set_columns(entries(col_even, ncols), entries(col_odd, ncols));
    if (has_rows && takes_rows) next.set_rows(entries(row, nrows));
    if (has_rows && !takes_rows) next.clear_rows();
  });
  return true;
}

bool set_interpolation(int camera, int value) {
  const ContextRef ctx = find_camera(camera);
  if (!ctx) return false;
  ctx->parameter.interpolation = static_cast<uint8_t>(value);
  return true;
}

int get_interpolation(int camera) {
  const ContextRef ctx = find_camera(camera);
  if (!ctx) return -1;
  return ctx->parameter.interpolation;
}

}  // namespace kxcam
