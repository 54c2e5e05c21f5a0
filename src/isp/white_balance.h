// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/image_view.h"

namespace kxcam {

struct CameraContext;

// Measurements of white balance. They read the raw frame as the corrections left it and make what they
// find the camera's gains; green keeps 1.0. Frames of monochrome sensors, and frames that do not show
// enough, change nothing.

/// One push: takes the middle ninth of the frame to be grey on the average.
void ManualWhiteBalance(CameraContext& ctx, const ImageView& raw);

/// Balances by the cells of the frame that are nearly grey already and brighter than the last frame's mean.
void PointWhiteBalance(CameraContext& ctx, const ImageView& raw);

/// Once after every processed Bayer frame: while automatic white balance is on, asks for a measurement by
/// points within 5 frames of a large change of the mean level and within 32 of a moderate one.
void AutoWhiteBalance(CameraContext& ctx);

}  // namespace kxcam
