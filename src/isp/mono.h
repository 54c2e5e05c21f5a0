// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "isp/frame_settings.h"
#include "isp/image_view.h"

namespace kxcam {

/// A monochrome frame as a colour picture, lightly smoothed inside its border, with the mono curve,
/// mirrors and rotation. Sizes, `format` and result as for BGGRtoRGB888(); the result is the mean of
/// all raw samples.
int32_t RAW8toRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);

/// A monochrome frame through the mono curve, one byte per pixel, not smoothed. Nothing in `format`
/// matters.
int32_t RAW8toGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);

}  // namespace kxcam
