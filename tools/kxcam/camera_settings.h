// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include <CLI/App.hpp>

#include "assignment.h"
#include "open_camera.h"

namespace kxcam {

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
  bool one_push = false;       ///< white balance, measured on the first picture
  std::vector<Assignment> controls;

  bool changes_orientation() const { return mirror_x || mirror_y || rotate != 0; }
};

/// Options for all of them.
void add_settings_options(CLI::App& command, CameraSettings& settings);
/// Those for settings that act on the picture and not on the sensor, raw frames being as they are.
void add_picture_options(CLI::App& command, CameraSettings& settings);

/// Throws Error when the camera refuses one.
void apply(const CameraSettings& settings, const OpenCamera& camera);

}  // namespace kxcam
