// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

#include "isp/sensor_layout.h"

namespace kxcam {

/// One supported camera model.
struct CameraModel {
  const char* MODEL;        ///< display name
  uint32_t PID;             ///< USB product id, unique per row; its top digit is the firmware family
  uint32_t MID;             ///< sensor id, what sensor-specific code compares
  uint32_t COLOR_MODE;      ///< ColorMode
  SensorSize SENSOR_ARRAY;  ///< full active sensor in pixels

  /// Newer bridge firmware: image stream on endpoint 0x81, started and stopped by request, and a
  /// USB reset before first use. The older firmware streams on endpoint 0x82 from power-up on.
  constexpr bool newer_bridge() const { return (PID & 0x3000) != 0; }
  constexpr bool monochrome() const { return COLOR_MODE == kMono8 || COLOR_MODE == kMono12; }
};

inline constexpr int kModelCount = 82;
/// The row number that stands for "no such model".
inline constexpr int kUnknownModel = kModelCount;

/// The order of the rows is part of the interface: contexts and callers keep row numbers.
extern const std::array<CameraModel, kModelCount> model_table;

/// First row with that product id, or kUnknownModel.
int find_model(uint32_t product_id);

}  // namespace kxcam
