// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxsim {

/// A lamp on the mains: its light swells and fades twice a period.
struct Lamp {
  double mains_hz = 50;
  double ripple = 0;  ///< amplitude relative to the mean light, 0..1
};

/// Mean light from `start_ms` on for `duration_ms` (0 and up), relative to the lamp's mean.
double mean_light(const Lamp& lamp, double start_ms, double duration_ms);

}  // namespace kxsim
