// SPDX-License-Identifier: Apache-2.0
#include "isp/raw_corrections.h"

#include <cstdint>

#include "isp/despeckle.h"
#include "isp/kernels/cpu_level.h"
#include "isp/kernels/fast_corrections.h"

namespace kxcam {
void despeckle(const MutableImageView& frame) {
  for (int32_t y = kSpeckleMargin; y <= frame.height() - kSpeckleMargin; ++y) {
    const auto above = frame.row(y - 2);
    const auto row = frame.row(y);
    const auto below = frame.row(y + 2);
    for (int32_t x = kSpeckleMargin; x <= frame.width() - kSpeckleMargin; ++x) {
      if (row[x] < kLeastSpeckle) continue;
      const int mean = (row[x - 2] + row[x + 2] + above[x] + below[x]) >> 2;
      if (row[x] > mean + kSpeckleTolerance) row[x] = static_cast<uint8_t>(mean);
    }
  }
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
