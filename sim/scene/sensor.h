// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "scene/color_mode.h"

namespace kxsim {

class Scene;

/// The part of the sensor that is read out, in sensor pixels. With `step` 2 every second Bayer cell
/// is skipped in both directions: the window covers 2 x width by 2 x height sensor pixels.
struct Readout {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  int step = 1;
  bool scan =
      false;  ///< the two uppermost rows over and over: what a line scan sees of a scene that stands still
};

/// How the sensor is made. Everything random in it follows from `seed`.
struct SensorDescription {
  int width = 0;   ///< 1..16384
  int height = 0;  ///< 1..16384
  ColorMode color_mode = ColorMode::kRggb;
  uint64_t seed = 1;
  bool noise = true;           ///< read and shot noise
  double fixed_pattern = 0.0;  ///< standard deviation of row and column gain, e.g. 0.02
  int dead_pixels = 0;         ///< number of stuck (hot or dark) pixels, at places that follow from the seed
};

/// What the frame is taken with. The factors are relative to a nominal exposure at which white paper
/// in the scene reaches 85 % of full scale. There is no black level: no light reads as 0.
struct Exposure {
  double exposure = 1.0;
  double gain = 1.0;  ///< amplifies the noise too
  /// Light of each row read out, relative to the scene's; 1 for rows beyond its end.
  std::vector<float> row_light = {};
};

/// A site that does not see: it reads full scale (hot) or 0.
struct StuckPixel {
  int x = 0;  ///< sensor column
  int y = 0;  ///< sensor row
  bool hot = false;
};

/// Turns a scene into raw frames as one sensor would see it: colour filter, illuminant, exposure,
/// gain, noise, fixed pattern, dead pixels, saturation, quantisation. Reproducible: the same
/// description, exposure and frame number give the same bytes. Not thread-safe.
class Sensor {
 public:
  /// Throws std::invalid_argument for a size out of range or no scene.
  Sensor(const SensorDescription& description, std::shared_ptr<const Scene> scene);
  ~Sensor();
  Sensor(const Sensor&) = delete;
  Sensor& operator=(const Sensor&) = delete;

  /// Throws std::invalid_argument for no scene.
  void set_scene(std::shared_ptr<const Scene> scene);

  /// Renders frame `number`. `out` takes width x height samples of one byte, or of two (little-endian,
  /// 12 significant bits) in mode kMono12; samples that do not fit `out` are not made. Sites outside
  /// the sensor are dark.
  void expose(const Readout& readout, const Exposure& exposure, uint64_t number, std::span<uint8_t> out);

  /// What the maker's inspection would find, in reading order.
  std::span<const StuckPixel> stuck_pixels() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace kxsim
