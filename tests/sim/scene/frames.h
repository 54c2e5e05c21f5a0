// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "scene/scene.h"
#include "scene/sensor.h"

namespace kxsim {

/// Light that is different at every site and in every channel.
class Slope final : public Scene {
 public:
  Light at(float u, float v, float /*size_u*/, float /*size_v*/) const override {
    return {0.1F + 0.4F * u + 0.5F * v, 0.2F + 0.3F * u * v, 0.9F - 0.5F * u - 0.3F * v};
  }
};

inline SensorDescription quiet(int width, int height, ColorMode mode) {
  return {.width = width, .height = height, .color_mode = mode, .noise = false};
}

/// One frame as a vector with a value a sample.
inline std::vector<int> frame_of(Sensor& sensor, const Readout& readout, const Exposure& exposure = {},
                                 uint64_t number = 0, bool two_bytes = false) {
  const auto samples = static_cast<size_t>(readout.width) * static_cast<size_t>(readout.height);
  std::vector<uint8_t> bytes(samples * (two_bytes ? 2 : 1), 0xCD);
  sensor.expose(readout, exposure, number, bytes);
  std::vector<int> values(samples);
  for (size_t i = 0; i < samples; ++i) {
    values[i] = two_bytes ? bytes[2 * i] + 256 * bytes[2 * i + 1] : bytes[i];
  }
  return values;
}

}  // namespace kxsim
