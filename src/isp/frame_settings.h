// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "isp/color_tables.h"
#include "isp/index_map.h"

namespace kxcam {

/// Everything one frame is processed with. Taken once at the start of the frame and kept to its end,
/// so that a setter in another thread acts on whole frames only.
struct FrameSettings {
  std::shared_ptr<const ToneCurves> curves;
  std::shared_ptr<const ColorMatrix> matrix;
  std::shared_ptr<const UserLut> user_lut;
  bool apply_matrix = false;  ///< false: the colour matrix is an identity and is skipped
  IndexMap index_map;         ///< empty while the camera has no frame size
};

}  // namespace kxcam
