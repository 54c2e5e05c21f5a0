// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include <CLI/App.hpp>

namespace kxcam {

class Camera;

/// What the user wants changed before the first frame; the rest stays as the camera has it.
struct CameraSettings {
  std::optional<int> resolution;
  std::vector<int> roi;  ///< x, y, width, height; empty: none
  bool mirror_x = false;
  bool mirror_y = false;
  int rotate = 0;
  std::optional<double> gamma;
  std::optional<double> contrast;
  std::optional<double> saturation;
  std::optional<int> black_level;
  bool enhancement = false;
  std::optional<double> exposure_ms;
  std::optional<int> gain;
  bool auto_exposure = false;  ///< and gain

  bool changes_orientation() const { return mirror_x || mirror_y || rotate != 0; }
};

void add_settings_options(CLI::App& command, CameraSettings& settings);

/// Throws Error when the camera refuses one.
void apply(const CameraSettings& settings, const Camera& camera);

}  // namespace kxcam
