// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/registry/camera_context.h"

namespace kxcam {

// White balance of the picture; the sensor is not written to. Thread-safe.

/// Range of the gains: 0.0..3.0 each; a NaN is in no range.
bool are_wb_gains(double r, double g, double b);

/// Gains of red, green and blue; ARGUMENT out of range, which changes nothing.
bool set_wb_gain(CameraContext& camera, double r, double g, double b);

/// Gains last set or measured; a null pointer is passed over.
bool get_wb_gain(const CameraContext& camera, double* r, double* g, double* b);

/// Asks for one measurement: the gains that make the middle of the next Bayer frame grey on the average.
bool one_push_wb(CameraContext& camera);

/// Automatic white balance. Switching it on also asks for a measurement; off keeps the last gains.
bool set_awb(CameraContext& camera, bool on);
int get_awb(const CameraContext& camera);

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
