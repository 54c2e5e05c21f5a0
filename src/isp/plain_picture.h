// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "isp/frame_settings.h"
#include "isp/image_view.h"

namespace kxcam {

/// Bilinear demosaic of a Bayer frame, with tone curves, colour matrix, mirrors and rotation in the
/// same pass.
///
/// The letters name the colours of the 2 x 2 cell in reading order. `raw` has as many pixels as the
/// index map; `out` has room for as many pixels of three bytes (four with KXCAM_FORMAT_32BIT, whose
/// last is left untouched), in the byte order of KXCAM_FORMAT_BGR. Returns the mean raw green level,
/// truncated; it counts every green site twice, so an odd number of rows and columns shifts it a little.
int32_t BGGRtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);
int32_t GBRGtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);
int32_t GRBGtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);
int32_t RGGBtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);

/// The same to luma, one byte per pixel; nothing in `format` matters.
int32_t BGGRtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);
int32_t GBRGtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);
int32_t GRBGtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);
int32_t RGGBtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);

/// A monochrome frame as a colour picture, lightly smoothed inside its border, with the mono curve,
/// mirrors and rotation. Sizes, `format` and result as for BGGRtoRGB888(); the result is the mean of
/// all raw samples.
int32_t RAW8toRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);

/// A monochrome frame through the mono curve, one byte per pixel, not smoothed. Nothing in `format`
/// matters.
int32_t RAW8toGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format);

}  // namespace kxcam
