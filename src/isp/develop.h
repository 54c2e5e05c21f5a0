// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "isp/defects.h"
#include "isp/flat_field.h"
#include "isp/frame_memory.h"
#include "isp/frame_settings.h"
#include "isp/image_view.h"
#include "isp/kernels/cpu_level.h"

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

/// Whether a format asks for a picture (kxcam_format, grey or colour) that can be made of a frame of a
/// `COLOR_MODE`.
bool is_picture(uint32_t color_mode, int format);

/// Makes that picture of a raw frame, and returns the mean level: what plain_picture.h defines, by the
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
