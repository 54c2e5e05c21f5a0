// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxsim {

/// Colour filters of the top left 2 x 2 sites, in reading order, of sensors with one byte a sample; or no
/// filters, and the significant bits of a sample.
enum class ColorMode { kRggb, kBggr, kGrbg, kGbrg, kMono8, kMono12 };

/// Bytes of a sample as the sensor makes it: 12 bits are little-endian in two.
constexpr int sample_bytes(ColorMode mode) {
  return mode == ColorMode::kMono12 ? 2 : 1;
}

}  // namespace kxsim
