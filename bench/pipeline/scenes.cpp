// SPDX-License-Identifier: Apache-2.0
#include "scenes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>

#include "scene/scene.h"
#include "scene/sensor.h"

namespace kxcam::bench {
namespace {

/// A smooth picture with a mosaic of different levels and some noise, as a sensor gives it.
uint8_t smooth_sample(int x, int y, std::mt19937& random) {
  const double level = 90 + 60 * std::sin(x * 0.004 + 1) * std::cos(y * 0.003) + (x & 1) * 20 - (y & 1) * 15;
  const double noise = static_cast<int>(random() % 25) - 12;
  return static_cast<uint8_t>(std::clamp(level + noise, 0.0, 255.0));
}

uint8_t edge_sample(int x, int y, std::mt19937& random) {
  const int level = ((x / 24 + y / 24) & 1) != 0 ? 190 : 40;
  return static_cast<uint8_t>(level + static_cast<int>(random() % 25) - 12);
}

template <class Sample>
std::vector<uint8_t> draw(int width, int height, uint32_t seed, double speckles, Sample sample) {
  std::mt19937 random(seed);
  const auto limit = static_cast<uint32_t>(speckles * 0x1p32);
  std::vector<uint8_t> frame;
  frame.reserve(static_cast<size_t>(width) * height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint8_t level = sample(x, y, random);
      frame.push_back(random() < limit ? static_cast<uint8_t>(255 - random() % 16) : level);
    }
  }
  return frame;
}

std::vector<uint8_t> chart(int width, int height, uint32_t seed) {
  kxsim::Sensor sensor({.width = width,
                        .height = height,
                        .color_mode = kxsim::ColorMode::kGrbg,
                        .seed = 1,
                        .noise = true,
                        .fixed_pattern = 0.01,
                        .dead_pixels = width * height / 20'000},
                       kxsim::make_chart(static_cast<double>(width) / height));
  std::vector<uint8_t> frame(static_cast<size_t>(width) * height);
  sensor.expose({.x = 0, .y = 0, .width = width, .height = height}, {}, seed, frame);
  return frame;
}

}  // namespace

std::string_view name_of(Scene scene) {
  switch (scene) {
    case Scene::kSmooth:
      return "smooth";
    case Scene::kHotPixels:
      return "0.5 % hot pixels";
    case Scene::kHardEdges:
      return "hard edges, 10 % specks";
    default:
      return "chart";
  }
}

std::vector<uint8_t> raw_frame(Scene scene, int width, int height, uint32_t seed) {
  switch (scene) {
    case Scene::kSmooth:
      return draw(width, height, seed, 0, smooth_sample);
    case Scene::kHotPixels:
      return draw(width, height, seed, 0.005, smooth_sample);
    case Scene::kHardEdges:
      return draw(width, height, seed, 0.1, edge_sample);
    default:
      return chart(width, height, seed);
  }
}

}  // namespace kxcam::bench
