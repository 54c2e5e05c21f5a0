// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/registry/camera_context.h"

namespace kxcam {

// White balance of the picture; the sensor is not written to. Codes of all: 1, 3. Thread-safe.

/// Gains of red, green and blue, 0.0..3.0 each; code 2 beyond that or for a NaN, which changes nothing.
bool set_wb_gain(int camera, double r, double g, double b);

/// Gains last set or measured; a null pointer is passed over.
bool get_wb_gain(int camera, double* r, double* g, double* b);

/// Asks for one measurement: the gains that make the middle of the next Bayer frame grey on the average.
bool one_push_wb(int camera);

/// Automatic white balance. Switching it on also asks for a measurement; off keeps the last gains.
bool set_awb(int camera, bool on);
/// 0 or 1; -1 on failure.
int get_awb(int camera);

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
