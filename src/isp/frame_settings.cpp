// SPDX-License-Identifier: Apache-2.0
#include "isp/frame_settings.h"

#include <cstdlib>

#include "core/registry/camera_parameter.h"

namespace kxcam {

FrameSettings frame_settings(const CameraContext& ctx) {
  const bool enhanced = (ctx.parameter.isp_flags & kEnhancement) != 0;
  const auto index_map = ctx.stream.index_map.load();
  return {
      .curves = ctx.picture.curves.load(),
      .matrix = ctx.picture.matrix.load(),
      .user_lut = ctx.picture.user_lut.load(),
      .apply_matrix = enhanced || ctx.parameter.saturation != 1.0,
      .index_map = index_map ? *index_map : IndexMap(),
  };
}

// Read from the map and not from the flag: the flag changes before the map does.
bool is_rotated(const IndexMap& map) {
  return std::abs(map.column_step()) != 1 || std::abs(map.row_step()) != map.width();
}

}  // namespace kxcam
