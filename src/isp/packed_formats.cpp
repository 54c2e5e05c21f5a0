// SPDX-License-Identifier: Apache-2.0
#include "isp/packed_formats.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "isp/saturating_cast.h"

namespace kxcam {
namespace {

using Rgb = std::array<uint8_t, 3>;

Rgb rgb_of(int y, int u, int v) {
  const int luma = y - 16;
  u -= 128;
  v -= 128;
  return {saturating_cast<uint8_t>(luma + 1.370705 * v),
          saturating_cast<uint8_t>(luma - 0.698001 * v - 0.337633 * u),
          saturating_cast<uint8_t>(luma + 1.732446 * u)};
}

/// `unpack` makes an Rgb of the two bytes of a pixel.
template <class Unpack>
void convert_16bit(std::span<const uint8_t> in, std::span<uint8_t> out, Unpack unpack) {
  const size_t pixels = std::min(in.size() / 2, out.size() / 3);
  for (size_t i = 0; i < pixels; ++i) std::ranges::copy(unpack(in[2 * i], in[2 * i + 1]), &out[3 * i]);
}

Rgb low_bytes(int r, int g, int b) {
  return {static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b)};
}

}  // namespace

void UYVYtoRGB888(std::span<const uint8_t> in, std::span<uint8_t> out) {
  const size_t pairs = std::min(in.size() / 4, out.size() / 6);
  for (size_t i = 0; i < pairs; ++i) {
    const uint8_t* group = &in[4 * i];
    std::ranges::copy(rgb_of(group[1], group[0], group[2]), &out[6 * i]);
    std::ranges::copy(rgb_of(group[3], group[0], group[2]), &out[6 * i + 3]);
  }
}

void RGB565toRGB888(std::span<const uint8_t> in, std::span<uint8_t> out) {
  convert_16bit(in, out, [](int byte0, int byte1) {
    return low_bytes(byte0 & 0xF8, (byte0 << 5) | ((byte1 >> 3) & 0x1C), byte1 << 3);
  });
}

void RGB555toRGB888(std::span<const uint8_t> in, std::span<uint8_t> out) {
  convert_16bit(in, out, [](int byte0, int byte1) {
    return low_bytes((byte0 >> 2) << 3, (byte0 << 6) | ((byte1 >> 2) & 0x38), byte1 << 3);
  });
}

void RGBx444toRGB888(std::span<const uint8_t> in, std::span<uint8_t> out) {
  convert_16bit(in, out,
                [](int byte0, int byte1) { return low_bytes(byte0 << 4, byte1 & 0xF0, byte1 << 4); });
}

void RGB444xtoRGB888(std::span<const uint8_t> in, std::span<uint8_t> out) {
  convert_16bit(in, out, [](int byte0, int) { return low_bytes(byte0 & 0xF0, byte0 << 4, 0); });
}

}  // namespace kxcam
