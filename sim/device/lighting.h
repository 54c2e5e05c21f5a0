// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "scene/lamp.h"

namespace kxsim {

/// How bright the scene is to a camera whose registers say how it exposes. At level 1, 10 ms without
/// amplification show white paper at 85 % of full scale.
struct Lighting {
  static constexpr double kNominalMs = 10;

  struct Step {
    uint64_t frame = 0;  ///< the first one in the new light, counted since power-up from 0
    double level = 1;
  };

  double level = 1;
  Lamp lamp = {};
  std::optional<Step> step = {};

  double level_at(uint64_t frame) const { return step && frame >= step->frame ? step->level : level; }
};

}  // namespace kxsim
