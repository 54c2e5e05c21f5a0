// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace kxcam {

/// Conversions of packed pixels to R, G, B bytes, pixel after pixel, without tone curves, matrix or
/// index map. Each converts as many whole pixels (UYVY: pairs of pixels) as both `in` and `out` hold.

/// Four bytes U, Y0, V, Y1 give two pixels. Luma is not stretched: white is 235 - 16.
void UYVYtoRGB888(std::span<const uint8_t> in, std::span<uint8_t> out);

/// Two bytes give a pixel, the first one holding red; the low bits that a component lacks are 0.
void RGB565toRGB888(std::span<const uint8_t> in, std::span<uint8_t> out);
void RGB555toRGB888(std::span<const uint8_t> in, std::span<uint8_t> out);
void RGBx444toRGB888(std::span<const uint8_t> in, std::span<uint8_t> out);
/// Blue is not carried over: it comes out as 0.
void RGB444xtoRGB888(std::span<const uint8_t> in, std::span<uint8_t> out);

}  // namespace kxcam
