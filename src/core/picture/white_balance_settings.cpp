// SPDX-License-Identifier: Apache-2.0
#include "core/picture/white_balance_settings.h"

#include <cstdint>
#include <cstdlib>

#include "core/registry/camera_context.h"
#include "isp/color_tables.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr double kGreatestGain = 3.0;

bool in_range(double gain) {
  return gain >= 0.0 && gain <= kGreatestGain;
}

}  // namespace

bool are_wb_gains(double r, double g, double b) {
  return in_range(r) && in_range(g) && in_range(b);
}

bool set_wb_gain(CameraContext& camera, double r, double g, double b) {
  if (!are_wb_gains(r, g, b)) return fail(KXCAM_ERROR_ARGUMENT);
  store_wb_gains(camera, {.r = r, .g = g, .b = b});
  return true;
}

bool get_wb_gain(const CameraContext& camera, double* r, double* g, double* b) {
  if (r != nullptr) *r = camera.parameter.wb_gain_r;
  if (g != nullptr) *g = camera.parameter.wb_gain_g;
  if (b != nullptr) *b = camera.parameter.wb_gain_b;
  return true;
}

bool one_push_wb(CameraContext& camera) {
  camera.picture.one_push_request = true;
  return true;
}

bool set_awb(CameraContext& camera, bool on) {
  camera.parameter.isp_flags.set_bits(kAutoWhiteBalance, on);
  if (on) camera.picture.auto_wb_request = true;
  return true;
}

int get_awb(const CameraContext& camera) {
  return (camera.parameter.isp_flags & kAutoWhiteBalance) != 0 ? 1 : 0;
}

void store_wb_gains(CameraContext& ctx, const WhiteBalanceGains& gains) {
  // Stored inside the update, so that gains and curves of two concurrent changes belong together.
  ctx.picture.curves.update([&](ToneCurves& curves) {
    ctx.parameter.wb_gain_r = gains.r;
    ctx.parameter.wb_gain_g = gains.g;
    ctx.parameter.wb_gain_b = gains.b;
    curves.wb_curve_r = build_wb_curve(gains.r);
    curves.wb_curve_g = build_wb_curve(gains.g);
    curves.wb_curve_b = build_wb_curve(gains.b);
    compose(curves);
  });
}

void ManualWhiteBalance(CameraContext& ctx, const ImageView& raw) {
  const auto phase = bayer_phase(ctx.model().COLOR_MODE);
  if (!phase) return;
  if (const auto gains = gains_of_middle(raw, *phase)) store_wb_gains(ctx, *gains);
}

void PointWhiteBalance(CameraContext& ctx, const ImageView& raw) {
  const auto phase = bayer_phase(ctx.model().COLOR_MODE);
  if (!phase) return;
  if (const auto gains = gains_of_grey_points(raw, *phase, ctx.picture.mean_level))
    store_wb_gains(ctx, *gains);
}

namespace {

/// A change of the mean level that is looked for every so many frames.
struct Trigger {
  uint32_t every_frames;
  int least_change;

  bool fires(uint32_t frames, int change) const {
    return frames % every_frames == 0 && change >= least_change;
  }
};

constexpr Trigger kLargeChange = {5, 31};
constexpr Trigger kModerateChange = {32, 11};

}  // namespace

void AutoWhiteBalance(CameraContext& ctx) {
  if ((ctx.parameter.isp_flags & kAutoWhiteBalance) == 0) return;
  const int32_t level = ctx.picture.mean_level;
  const int change = std::abs(ctx.picture.wb_last_avg - level);
  const uint32_t frames = ctx.stream.frames_delivered;
  if (!kLargeChange.fires(frames, change) && !kModerateChange.fires(frames, change)) return;
  ctx.picture.wb_last_avg = level;
  ctx.picture.auto_wb_request = true;
}

}  // namespace kxcam
