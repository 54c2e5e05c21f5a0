// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "isp/frame_settings.h"

namespace kxcam::test {

inline constexpr uint8_t kGuard = 0xA5;
inline constexpr std::array<double, 9> kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

inline std::vector<uint8_t> noise(size_t bytes, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> samples(bytes);
  for (uint8_t& sample : samples) sample = static_cast<uint8_t>(random());
  return samples;
}

/// An output picture between guard bytes.
class GuardedOutput {
 public:
  explicit GuardedOutput(size_t bytes) : bytes_(bytes), all_(bytes + 2 * kMargin, kGuard) {}

  uint8_t* data() { return all_.data() + kMargin; }
  std::vector<uint8_t> picture() const { return {all_.begin() + kMargin, all_.end() - kMargin}; }
  bool guards_intact() const {
    for (size_t i = 0; i < kMargin; ++i) {
      if (all_[i] != kGuard || all_[kMargin + bytes_ + i] != kGuard) return false;
    }
    return true;
  }

 private:
  static constexpr size_t kMargin = 64;
  size_t bytes_;
  std::vector<uint8_t> all_;
};

/// Settings in which every curve and every table entry differs from every other.
inline FrameSettings distinct_settings(const IndexMap& map, bool apply_matrix) {
  auto curves = std::make_shared<ToneCurves>();
  for (size_t i = 0; i < 256; ++i) {
    curves->final_curve_r[i] = static_cast<uint8_t>(i * 7 + 3);
    curves->final_curve_g[i] = static_cast<uint8_t>(i * 5 + 1);
    curves->final_curve_b[i] = static_cast<uint8_t>(255 - i);
    curves->mono_curve[i] = static_cast<uint8_t>(i ^ 0x55);
  }
  auto matrix = std::make_shared<ColorMatrix>();
  init_saturation_matrix(matrix->color_matrix_table, 1.3, {1.7, -0.5, -0.2, -0.4, 1.6, -0.2, 0.1, -0.7, 1.6});
  init_saturation_matrix(matrix->grey_matrix_table, 0.0, {1.2, 0.1, 0.0, 0.0, 0.9, 0.05, 0.3, 0.0, 0.4});
  FrameSettings settings;
  settings.curves = std::move(curves);
  settings.matrix = std::move(matrix);
  settings.apply_matrix = apply_matrix;
  settings.index_map = map;
  return settings;
}

}  // namespace kxcam::test
