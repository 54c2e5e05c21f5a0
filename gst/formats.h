// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include <gst/gst.h>

#include <kxcam/extra.h>

namespace kxcam {

/// A pixel format of GStreamer and the format word of the library that has its bytes.
struct PixelFormat {
  const char* media;  ///< "video/x-raw" or "video/x-bayer"
  const char* name;
  int word;  ///< #kxcam_format
  int pixel_bytes;
  int bayer;  ///< #kxcam_bayer

  bool raw() const { return (word & KXCAM_FORMAT_RAW) != 0; }
};

struct Size {
  int width;
  int height;

  friend bool operator==(const Size&, const Size&) = default;
  Size turned() const { return {height, width}; }
};

/// Where the pixels of a picture lie: rows without padding, as the library writes them, and rows of `stride`
/// bytes, as the caps promise them to elements that know no more than the caps.
struct PictureLayout {
  const PixelFormat* format;
  Size size;
  size_t row_bytes;
  size_t stride;

  size_t bytes() const { return row_bytes * static_cast<size_t>(size.height); }
  size_t padded_bytes() const { return stride * static_cast<size_t>(size.height); }
};

/// Frames a second; 0 of 1 where they come as they like.
struct FrameRate {
  int numerator = 0;
  int denominator = 1;
};

/// The formats that such a camera gives, the natural one first.
std::vector<const PixelFormat*> formats_of(const kxcam_description& camera);

/// Of a camera that is not known yet.
GstCaps* template_caps();

/// Pictures in any of these sizes and formats; `turned` while processed pictures are rotated, which raw
/// frames never are. Formats that have no caps in common come in separate structures, the first size first.
GstCaps* caps_of(std::span<const PixelFormat* const> formats, std::span<const Size> raw_sizes, bool turned);

/// Nothing for caps that are not of such a camera's, or not fixed.
std::optional<PictureLayout> layout_of(const GstCaps* caps);
FrameRate rate_of(const GstCaps* caps);

}  // namespace kxcam
