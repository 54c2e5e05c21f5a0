// SPDX-License-Identifier: Apache-2.0
#include "isp/raw_corrections.h"

#include "core/registry/camera_parameter.h"
#include "isp/despeckle.h"
#include "isp/kernels/fast_corrections.h"
#include "isp/kernels/level_kernels.h"

namespace kxcam {
namespace {

std::shared_ptr<const FlatField> flat_field_in_force(const CameraContext& ctx, uint16_t flags) {
  if ((flags & kFixedPatternOff) != 0) return nullptr;
  auto field = ctx.picture.flat_field.load();
  return field->flat() ? nullptr : field;
}

}  // namespace

RawCorrections raw_corrections(const CameraContext& ctx, int32_t width, int32_t height) {
  const uint16_t flags = ctx.parameter.isp_flags;
  return {
      .dead_pixels = ctx.picture.dead_pixels.load(),
      .flat_field = flat_field_in_force(ctx, flags),
      .despeckled = (flags & kDespeckleOff) == 0,
      .placement = place_frame(ctx.model().SENSOR_ARRAY, ctx.parameter, width, height),
  };
}

void correct(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections) {
  const FramePlacement& placement = corrections.placement;
  if (corrections.dead_pixels) replace_dead_pixels(frame, placement, corrections.dead_pixels->listed());
  const RowKernels* kernels = kernels_of(level);
  if (kernels != nullptr && fast_corrections(*kernels, frame, corrections.flat_field.get(), placement.x0,
                                             placement.y0, corrections.despeckled)) {
    return;
  }
  if (corrections.flat_field) apply_flat_field(frame, *corrections.flat_field, placement.x0, placement.y0);
  if (corrections.despeckled) despeckle(frame);
}

}  // namespace kxcam
