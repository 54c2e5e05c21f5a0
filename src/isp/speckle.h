// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Columns and rows from the margin to size - margin are looked at.
inline constexpr int kSpeckleMargin = 6;
/// A speckle is at least as bright as this,
inline constexpr int kLeastSpeckle = 101;
/// and brighter than its neighbours' mean by more than this.
inline constexpr int kSpeckleTolerance = 50;

}  // namespace kxcam
