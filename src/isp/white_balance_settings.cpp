// SPDX-License-Identifier: Apache-2.0
#include "isp/white_balance_settings.h"

#include "core/contexts.h"
#include "core/isp_flags.h"
#include "isp/white_balance_gains.h"

namespace kxcam {
namespace {

constexpr double kGreatestGain = 3.0;

bool in_range(double gain) {
  return gain >= 0.0 && gain <= kGreatestGain;
}

}  // namespace

bool set_wb_gain(int camera, double r, double g, double b) {
  const auto ctx = find_camera_if(camera, in_range(r) && in_range(g) && in_range(b));
  if (!ctx) return false;
  const ReadLock lock(ctx->context_lock);
  store_wb_gains(*ctx, {.r = r, .g = g, .b = b});
  return true;
}

bool get_wb_gain(int camera, double* r, double* g, double* b) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  if (r != nullptr) *r = ctx->parameter.wb_gain_r;
  if (g != nullptr) *g = ctx->parameter.wb_gain_g;
  if (b != nullptr) *b = ctx->parameter.wb_gain_b;
  return true;
}

bool one_push_wb(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  ctx->one_push_request = true;
  return true;
}

bool set_awb(int camera, bool on) {
  const auto ctx = find_camera(camera);
  if (!ctx) return false;
  ctx->parameter.isp_flags.set_bits(kAutoWhiteBalance, on);
  if (on) ctx->auto_wb_request = true;
  return true;
}

int get_awb(int camera) {
  const auto ctx = find_camera(camera);
  if (!ctx) return -1;
  return (ctx->parameter.isp_flags & kAutoWhiteBalance) != 0 ? 1 : 0;
}

}  // namespace kxcam
