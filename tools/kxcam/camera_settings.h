// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "controls.h"

namespace kxcam {

/// What the user wants changed before the first frame; the rest stays as the camera has it.
struct CameraSettings {
  std::optional<int> resolution;
  std::vector<int> roi;        ///< x, y, width, height; empty: none
  int rotate = 0;              ///< 90, 180 or 270 degrees clockwise
  bool auto_exposure = false;  ///< and gain
  bool one_push = false;       ///< white balance, measured on the first picture
  std::vector<Assignment> controls;

  /// Whether the picture is mirrored or rotated.
  bool changes_orientation() const;
};

/// Throws Error when the camera refuses one.
void apply(const CameraSettings& settings, const OpenCamera& camera);

}  // namespace kxcam
