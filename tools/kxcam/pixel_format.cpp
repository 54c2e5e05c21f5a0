// SPDX-License-Identifier: Apache-2.0
#include "pixel_format.h"

#include <kxcam/kxcam.h>

namespace kxcam {

const std::map<std::string, PixelFormat>& pixel_format_names() {
  static const std::map<std::string, PixelFormat> names = {
      {"colour", PixelFormat::kColour}, {"color", PixelFormat::kColour}, {"grey", PixelFormat::kGrey},
      {"gray", PixelFormat::kGrey},     {"raw", PixelFormat::kRaw},
  };
  return names;
}

std::string_view name_of(PixelFormat format) {
  switch (format) {
    case PixelFormat::kColour:
      return "colour";
    case PixelFormat::kGrey:
      return "grey";
    case PixelFormat::kRaw:
      return "raw";
  }
  return "";
}

int format_word(PixelFormat format) {
  switch (format) {
    case PixelFormat::kColour:
      return KXCAM_FORMAT_COLOR;
    case PixelFormat::kGrey:
      return KXCAM_FORMAT_GREY;
    case PixelFormat::kRaw:
      return KXCAM_FORMAT_RAW;
  }
  return 0;
}

PixelFormat natural_format(int product_id) {
  return (product_id & 0xF) == 0xB ? PixelFormat::kGrey : PixelFormat::kColour;
}

}  // namespace kxcam
