// SPDX-License-Identifier: Apache-2.0
#include "isp/white_balance_gains.h"

#include <cstdint>

#include "isp/saturating_cast.h"
#include "isp/tone_curves.h"

namespace kxcam {

void store_wb_gains(CameraContext& ctx, const WhiteBalanceGains& gains) {
  // Stored inside the update, so that gains and curves of two concurrent changes belong together.
  ctx.curves.update([&](ToneCurves& curves) {
    ctx.parameter.wb_gain_r = gains.r;
    ctx.parameter.wb_gain_g = gains.g;
    ctx.parameter.wb_gain_b = gains.b;
    curves.wb_curve_r = build_wb_curve(gains.r);
    curves.wb_curve_g = build_wb_curve(gains.g);
    curves.wb_curve_b = build_wb_curve(gains.b);
    compose(curves);
  });
}

double two_decimals(double ratio) {
  return saturating_cast<int32_t>(ratio * 100) / 100.0;
}

WhiteBalanceGains limited(WhiteBalanceGains gains) {
  constexpr double kLimit = 3.0;
  if (gains.r > kLimit || gains.b > kLimit) gains.r = kLimit;
  return gains;
}

}  // namespace kxcam
