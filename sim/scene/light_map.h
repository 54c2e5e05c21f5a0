// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "scene/color_mode.h"

namespace kxsim {

class Scene;

/// The light that falls on each site of a sensor through its colour filter. Looking at a scene is slow
/// and the scene stands still, so each row is looked at once, when it is first asked for.
class LightMap {
 public:
  LightMap(int width, int height, ColorMode mode);

  void set_scene(std::shared_ptr<const Scene> scene);

  /// Makes the given sensor rows (each once, all inside the sensor) ready for `row`.
  void prepare(std::span<const int> rows);

  /// Light of sensor row `y`, which was prepared; white paper is 1.0.
  std::span<const float> row(int y) const;

 private:
  void look_at_row(int y);

  int width_;
  int height_;
  ColorMode mode_;
  std::shared_ptr<const Scene> scene_;
  std::vector<float> light_;
  std::vector<char> ready_;  // not vector<bool>: threads look at neighbouring rows
};

}  // namespace kxsim
