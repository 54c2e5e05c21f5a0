// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/image_view.h"

namespace kxcam {
/// Columns and rows from the margin to size - margin are looked at.
inline constexpr int kSpeckleMargin = 6;
/// A speckle is at least as bright as this,
inline constexpr int kLeastSpeckle = 101;
/// and brighter than its neighbours' mean by more than this.
inline constexpr int kSpeckleTolerance = 50;

/// Darkens single bright pixels: one above 100 that exceeds the mean of the four nearest of its colour in
/// its row and column by more than 50 takes that mean. In place and in reading order: repaired neighbours
/// count as they are repaired. The first six rows and columns and the last five stay as they are.
void despeckle(const MutableImageView& frame);

}  // namespace kxcam
