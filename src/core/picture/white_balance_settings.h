// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/registry/camera_context.h"
#include "isp/image_view.h"
#include "isp/white_balance.h"

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

/// Makes these the camera's gains, with their curves.
void store_wb_gains(CameraContext& ctx, const WhiteBalanceGains& gains);

// Measurements. They read the raw frame as the corrections left it and make what they find the camera's
// gains. Frames of monochrome sensors, and frames that do not show enough, change nothing.

/// One push.
void ManualWhiteBalance(CameraContext& ctx, const ImageView& raw);

/// By points, with the mean level of the last frame.
void PointWhiteBalance(CameraContext& ctx, const ImageView& raw);

/// Once after every processed Bayer frame: while automatic white balance is on, asks for a measurement by
/// points within 5 frames of a large change of the mean level and within 32 of a moderate one.
void AutoWhiteBalance(CameraContext& ctx);

}  // namespace kxcam
