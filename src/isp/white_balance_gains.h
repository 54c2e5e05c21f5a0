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

}  // namespace kxcam
