// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "isp/dead_pixels.h"
#include "isp/flat_field.h"
#include "isp/frame_memory.h"
#include "isp/frame_placement.h"
#include "isp/image_view.h"
#include "isp/kernels/cpu_level.h"
#include "isp/kernels/fast_corrections.h"

namespace kxcam {

/// The corrections that one frame is to get. Taken once, like FrameSettings.
struct RawCorrections {
  std::shared_ptr<const DeadPixelList> dead_pixels;  ///< may be null: nothing to replace
  std::shared_ptr<const FlatField> flat_field;       ///< null: switched off, or would change nothing
  bool despeckled = false;
  FramePlacement placement;
};

/// Corrects a frame in place: dead pixels, then the flat field, then speckles, by the fastest means of
/// `level`, which has to be available. `memory` is for the rows at work.
void correct(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections,
             WorkMemory& memory);

/// The first step of it, and the others.
void correct_sites(const MutableImageView& frame, const RawCorrections& corrections);
void correct_levels(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections,
                    WorkMemory& memory);

/// The other steps for row kernels. Both arguments have to outlive the result.
RowCorrections row_corrections(const MutableImageView& frame, const RawCorrections& corrections, bool keep);

}  // namespace kxcam
