// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "isp/image_view.h"
#include "isp/sensor_layout.h"

namespace kxcam {

struct WhiteBalanceGains {
  double r = 1.0;
  double g = 1.0;
  double b = 1.0;
};

// Gains measured in a raw frame as the corrections left it, with two decimals; green keeps 1.0. Nothing for a
// frame that does not show enough.

/// Takes the middle ninth of the frame to be grey on the average.
std::optional<WhiteBalanceGains> gains_of_middle(const ImageView& raw, BayerPhase phase);

/// Goes by the cells of the frame that are nearly grey already and brighter than `mean_level`. Limited
/// to 3.0, and deliberately not evenly: a blue gain beyond the limit puts red at 3.0 and stays as it is.
std::optional<WhiteBalanceGains> gains_of_grey_points(const ImageView& raw, BayerPhase phase, int mean_level);

}  // namespace kxcam
