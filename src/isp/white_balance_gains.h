// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/camera_context.h"

namespace kxcam {

struct WhiteBalanceGains {
  double r = 1.0;
  double g = 1.0;
  double b = 1.0;
};

/// Makes these the camera's gains, with their curves.
void store_wb_gains(CameraContext& ctx, const WhiteBalanceGains& gains);

/// A measured ratio cut to two decimals.
double two_decimals(double ratio);

/// Limits measured gains to 3.0, and deliberately not evenly: a blue gain beyond the limit puts red at 3.0
/// and stays as it is.
WhiteBalanceGains limited(WhiteBalanceGains gains);

}  // namespace kxcam
