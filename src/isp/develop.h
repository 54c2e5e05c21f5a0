// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "isp/frame_settings.h"
#include "isp/image_view.h"
#include "isp/kernels/cpu_level.h"

namespace kxcam {

/// Makes the grey or colour picture (kxcam_format, grey first) of a raw frame of a `COLOR_MODE`: what
/// demosaic.h and mono.h define, by the fastest means of `level`, which has to be available. Sizes of
/// `raw` and `out` as there.
///
/// Returns the mean level, or nothing when mode and format ask for no picture; `out` is untouched then.
std::optional<int32_t> develop(CpuLevel level, uint32_t color_mode, const FrameSettings& settings,
                               const ImageView& raw, uint8_t* out, int format);

}  // namespace kxcam
