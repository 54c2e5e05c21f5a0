// SPDX-License-Identifier: Apache-2.0
#include "scene/lamp.h"

#include <cmath>
#include <numbers>

namespace kxsim {

double mean_light(const Lamp& lamp, double start_ms, double duration_ms) {
  const double radians_per_ms = 2 * std::numbers::pi * 2 * lamp.mains_hz / 1000;
  const double half_angle = radians_per_ms * duration_ms / 2;
  const double share = half_angle < 1e-9 ? 1.0 : std::sin(half_angle) / half_angle;
  return 1 + lamp.ripple * share * std::sin(radians_per_ms * start_ms + half_angle);
}

}  // namespace kxsim
