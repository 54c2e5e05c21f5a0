// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kxcam {

/// What the library makes of a frame.
enum class PixelFormat {
  kColour,  ///< R, G, B bytes
  kGrey,    ///< one byte per pixel
  kRaw,     ///< the sensor's samples
};

/// Names on the command line, in both spellings.
const std::map<std::string, PixelFormat>& pixel_format_names();

std::string_view name_of(PixelFormat format);

/// The library's format word.
int format_word(PixelFormat format);

/// What suits a model: the last digit of a product id is 0xB for the monochrome variant of a sensor.
PixelFormat natural_format(int product_id);

}  // namespace kxcam
