// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kxcam::bench {

/// What a raw frame shows. Despeckling takes longest where there is most to repair.
enum class Scene {
  kSmooth,     ///< gentle slopes and some noise
  kHotPixels,  ///< the same with 0.5 % of the pixels nearly white
  kHardEdges,  ///< dark and bright squares, and 10 % of the pixels nearly white
  kChart,      ///< the simulated sensor's picture of its test chart, with noise, fixed pattern and defects
};

inline constexpr std::array kScenes = {Scene::kSmooth, Scene::kHotPixels, Scene::kHardEdges, Scene::kChart};

std::string_view name_of(Scene scene);

/// A raw frame (GRBG) of `width` x `height` samples; another one for another seed.
std::vector<uint8_t> raw_frame(Scene scene, int width, int height, uint32_t seed);

}  // namespace kxcam::bench
