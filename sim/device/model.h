// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include "scene/color_mode.h"

namespace kxsim {

/// A camera model as its maker describes it.
struct Model {
  uint16_t product_id;
  uint16_t sensor_id;  ///< the monochrome variant of a sensor ends in B
  const char* name;
  ColorMode color;
  int width;  ///< of the sensor, in pixels
  int height;

  /// The older bridge streams on another endpoint, and from power-up on.
  constexpr bool newer_bridge() const { return product_id >= 0x3000; }
};

std::span<const Model> all_models();
/// Null for an id that no camera has.
const Model* find_model(uint32_t product_id);

}  // namespace kxsim
