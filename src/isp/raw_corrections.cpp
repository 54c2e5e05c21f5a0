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

RowCorrections row_corrections(const MutableImageView& frame, const RawCorrections& corrections, bool keep) {
  return {.frame = frame,
          .field = corrections.flat_field.get(),
          .x0 = corrections.placement.x0,
          .y0 = corrections.placement.y0,
          .despeckled = corrections.despeckled,
          .keep = keep};
}

void correct_sites(const MutableImageView& frame, const RawCorrections& corrections) {
  if (corrections.dead_pixels)
    replace_dead_pixels(frame, corrections.placement, corrections.dead_pixels->listed());
}

void correct_levels(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections,
                    WorkMemory& memory) {
  if (!corrections.flat_field && !corrections.despeckled) return;
  const RowCorrections rows = row_corrections(frame, corrections, true);
  if (const RowKernels* kernels = kernels_of(level); kernels != nullptr && RowCorrector::can(rows)) {
    if (uint8_t* work = memory.reserve(RowCorrector::memory_size(rows)))
      return correct_rows(*kernels, rows, work);
  }
  if (corrections.flat_field)
    apply_flat_field(frame, *corrections.flat_field, corrections.placement.x0, corrections.placement.y0);
  if (corrections.despeckled) despeckle(frame);
}

void correct(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections,
             WorkMemory& memory) {
  correct_sites(frame, corrections);
  correct_levels(level, frame, corrections, memory);
}

}  // namespace kxcam
