// SPDX-License-Identifier: Apache-2.0
#include "core/picture/tone_settings.h"

#include <algorithm>
#include <array>

#include "core/registry/camera_parameter.h"
#include "core/registry/contexts.h"
#include "isp/color_matrix.h"
#include "isp/tone_curves.h"

// Values are stored inside the updates of the tables they are built into, so that the last value and
// the last table of two concurrent setters belong together.

namespace kxcam {
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

bool set_gamma(int camera, double gamma) {
  const auto ctx = find_camera_if(camera, in_range(gamma, kLeastToneFactor, kGreatestToneFactor));
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->picture.curves.update([&](ToneCurves& curves) {
    ctx->parameter.gamma = gamma;
    curves.gamma_curve = build_gamma_curve(gamma);
    compose(curves);
  });
  return true;
}

double get_gamma(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1.0;
  return ctx->parameter.gamma;
}

bool set_contrast(int camera, double contrast) {
  const auto ctx = find_camera_if(camera, in_range(contrast, kLeastToneFactor, kGreatestToneFactor));
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->picture.curves.update([&](ToneCurves& curves) {
    ctx->parameter.contrast = contrast;
    rebuild_contrast(curves, ctx->parameter);
  });
  return true;
}

double get_contrast(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1.0;
  return ctx->parameter.contrast;
}

bool set_black_level(int camera, int level) {
  const auto ctx = find_camera_if(camera, level >= 0 && level <= 255);
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->picture.curves.update([&](ToneCurves& curves) {
    ctx->parameter.black_level = level;
    rebuild_contrast(curves, ctx->parameter);
  });
  return true;
}

int get_black_level(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1;
  return ctx->parameter.black_level;
}

bool set_saturation(int camera, double saturation) {
  const auto ctx = find_camera_if(camera, in_range(saturation, 0.0, kGreatestSaturation));
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->picture.matrix.update([&](ColorMatrix& matrix) {
    ctx->parameter.saturation = saturation;
    rebuild_matrix(matrix, ctx->parameter);
  });
  return true;
}

double get_saturation(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1.0;
  return ctx->parameter.saturation;
}

bool set_enhancement(int camera, bool on) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->picture.curves.update(
      [&](ToneCurves& curves) { curves.gamma_curve = build_gamma_curve(ctx->parameter.gamma); });
  ctx->picture.matrix.update([&](ColorMatrix& matrix) {
    ctx->parameter.isp_flags.set_bits(kEnhancement, on);
    rebuild_matrix(matrix, ctx->parameter);
  });
  return true;
}

int get_enhancement(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1;
  return enhanced(ctx->parameter) ? 1 : 0;
}

bool set_ccm(int camera, std::span<const double, 9> ccm) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  // The tables stay as they are; the update only keeps a rebuild from seeing half of the matrix.
  ctx->picture.matrix.update(
      [&](ColorMatrix&) { std::ranges::copy(ccm, ctx->parameter.enhanced_ccm.begin()); });
  return true;
}

bool get_ccm(int camera, std::span<double, 9> ccm) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  std::ranges::copy(ctx->parameter.enhanced_ccm, ccm.begin());
  return true;
}

bool set_lut(int camera, const uint8_t* lut, int length) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  ctx->picture.user_lut.update(
      [&](UserLut& table) { std::copy_n(lut, table_entries(length), table.begin()); });
  return true;
}

bool get_lut(int camera, uint8_t* lut, int* length) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  if (lut == nullptr) {
    *length = ctx->model().COLOR_MODE == kMono12 ? static_cast<int>(UserLut().size()) : 256;
    return true;
  }
  std::copy_n(ctx->picture.user_lut.load()->begin(), table_entries(*length), lut);
  return true;
}

}  // namespace kxcam
