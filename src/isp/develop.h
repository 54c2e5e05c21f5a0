// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "isp/frame_memory.h"
#include "isp/frame_settings.h"
#include "isp/image_view.h"
#include "isp/kernels/cpu_level.h"
#include "isp/raw_corrections.h"

namespace kxcam {

/// Whether a format asks for a picture (kxcam_format, grey or colour) that can be made of a frame of a
/// `COLOR_MODE`.
bool is_picture(uint32_t color_mode, int format);

/// Makes that picture of a raw frame, and returns the mean level: what demosaic.h and mono.h define, by the
/// fastest means of `level`, which has to be available. Grey comes before colour. Sizes of `raw` and `out`
/// as there. The picture is made in `memory`, which no other picture may use meanwhile.
int32_t develop(CpuLevel level, uint32_t color_mode, const FrameSettings& settings, const ImageView& raw,
                uint8_t* out, int format, WorkMemory& memory);

/// correct() and then develop(), in one pass over the frame if it can be. The frame is left corrected if it
/// is to be kept, else anything may be left in it.
int32_t develop_corrected(CpuLevel level, uint32_t color_mode, const FrameSettings& settings,
                          const MutableImageView& raw, const RawCorrections& corrections, bool keep,
                          uint8_t* out, int format, WorkMemory& memory);

}  // namespace kxcam
