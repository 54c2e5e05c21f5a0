// SPDX-License-Identifier: Apache-2.0
#include "isp/packed_formats.h"

#include <vector>

#include <gtest/gtest.h>

namespace kxcam::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Converter = void (*)(std::span<const uint8_t>, std::span<uint8_t>);

Bytes converted(Converter convert, const Bytes& in, size_t out_bytes) {
  Bytes out(out_bytes, 0xA5);
  convert(in, out);
  return out;
}

TEST(PackedFormats, WidenComponentsWithZeroBits) {
  EXPECT_EQ(converted(RGB565toRGB888, {0xFF, 0xFF, 0b10101'011, 0b011'11011}, 6),
            (Bytes{0xF8, 0xFC, 0xF8, 0b10101'000, 0b011011'00, 0b11011'000}));
  EXPECT_EQ(converted(RGB555toRGB888, {0xFF, 0xFF, 0b0'10101'10, 0b011'11011}, 6),
            (Bytes{0xF8, 0xF8, 0xF8, 0b10101'000, 0b10011'000, 0b11011'000}));
  EXPECT_EQ(converted(RGBx444toRGB888, {0xAB, 0xCD}, 3), (Bytes{0xB0, 0xC0, 0xD0}));
  EXPECT_EQ(converted(RGB444xtoRGB888, {0xAB, 0xCD}, 3), (Bytes{0xA0, 0xB0, 0x00}));
}

TEST(PackedFormats, ConvertUyvyWithoutStretchingLuma) {
  EXPECT_EQ(converted(UYVYtoRGB888, {128, 16, 128, 235}, 6), (Bytes{0, 0, 0, 219, 219, 219}));
  // v = 100: R = 100 + 137.07, G = 100 - 69.8; u = -50: G + 16.88, B = 100 - 86.6.
  EXPECT_EQ(converted(UYVYtoRGB888, {78, 116, 228, 255}, 6), (Bytes{237, 47, 13, 255, 186, 152}));
  EXPECT_EQ(converted(UYVYtoRGB888, {255, 0, 0, 0}, 6), (Bytes{0, 30, 204, 0, 30, 204}));
}

TEST(PackedFormats, StopAtWholePixelsOfTheShorterSide) {
  for (const Converter convert : {RGB565toRGB888, RGB555toRGB888, RGBx444toRGB888, RGB444xtoRGB888}) {
    EXPECT_EQ(converted(convert, {0, 0, 0}, 6), (Bytes{0, 0, 0, 0xA5, 0xA5, 0xA5}));
    EXPECT_EQ(converted(convert, {0, 0, 0, 0}, 5), (Bytes{0, 0, 0, 0xA5, 0xA5}));
    EXPECT_EQ(converted(convert, {}, 3), (Bytes{0xA5, 0xA5, 0xA5}));
  }
  EXPECT_EQ(converted(UYVYtoRGB888, {128, 16, 128, 16, 128, 16, 128}, 12).at(6), 0xA5);
  EXPECT_EQ(converted(UYVYtoRGB888, {128, 16, 128, 16}, 5), Bytes(5, 0xA5));
}

}  // namespace
}  // namespace kxcam::test
