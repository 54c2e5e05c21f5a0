// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>

namespace kxsim {

/// Linear light at a point of the scene, as the sensor's three colour filters see it under the
/// scene's lamp; 1.0 is white paper.
struct Light {
  float r = 0;
  float g = 0;
  float b = 0;
};

/// What stands in front of the lens. Immutable, so that cameras and threads can share one.
class Scene {
 public:
  Scene() = default;
  virtual ~Scene() = default;
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  /// Light at (u, v) in 0..1 from the left and the top of the sensor, averaged over a spot about
  /// `size_u` x `size_v` wide (the area of a pixel), so that fine detail does not alias. Throws
  /// nothing and may be called from several threads at once.
  virtual Light at(float u, float v, float size_u, float size_v) const = 0;
};

/// A lamp that is a little warm, so that white balance has something to do and the picture still
/// looks well without it.
inline constexpr Light kWarmLamp{1.12F, 1.0F, 0.85F};

/// The test chart: colour patches, grey steps, slanted edges, line groups of rising frequency,
/// resolution stars and marked corners (red, green, blue and yellow from the top left in reading
/// order, of different brightness too). `aspect` = sensor width / height; each channel of `lamp` multiplies
/// what the chart reflects.
std::shared_ptr<const Scene> make_chart(double aspect, Light lamp = kWarmLamp);

/// A uniform field.
std::shared_ptr<const Scene> make_uniform(Light light);

/// The user's own picture (PNG, or binary PPM or PGM; sRGB), stretched over the sensor. Throws
/// std::runtime_error naming the file and what is wrong with it.
std::shared_ptr<const Scene> load_scene(const std::filesystem::path& file);

}  // namespace kxsim
