// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "kxcam/extra.h"

namespace kxcam::gentl {

/// A pixel format by its standard name and code, and what the library calls it.
struct PixelFormat {
  const char* name;
  uint32_t code;  ///< bits 16 to 23: bits of a pixel
  int format;     ///< #kxcam_format

  bool is_raw() const { return (format & KXCAM_FORMAT_RAW) != 0; }
};

/// What a camera of that kind delivers; the first one is what it starts with.
std::vector<PixelFormat> pixel_formats_of(const kxcam_description& camera);

}  // namespace kxcam::gentl
