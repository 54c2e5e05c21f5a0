// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "isp/color_tables.h"
#include "kxcam/kxcam.h"

namespace kxcam {

/// How a colour pixel lies in the output; green is always at byte 1, a fourth byte is never written.
struct PixelLayout {
  explicit constexpr PixelLayout(int format)
      : bytes((format & KXCAM_FORMAT_32BIT) != 0 ? 4 : 3),
        red_at((format & KXCAM_FORMAT_BGR) != 0 ? 2 : 0),
        blue_at(2 - red_at) {}

  int bytes;
  int red_at;
  int blue_at;
};

// What makes an output pixel of its raw red, green and blue.

/// Tone curves alone.
class ToneWriter {
 public:
  ToneWriter(const ToneCurves& curves, PixelLayout layout)
      : red_(curves.final_curve_r.data()),
        green_(curves.final_curve_g.data()),
        blue_(curves.final_curve_b.data()),
        layout_(layout) {}

  int bytes_per_pixel() const { return layout_.bytes; }

  void operator()(uint8_t* pixel, int r, int g, int b) const {
    pixel[layout_.red_at] = red_[r];
    pixel[1] = green_[g];
    pixel[layout_.blue_at] = blue_[b];
  }

 private:
  const uint8_t* red_;
  const uint8_t* green_;
  const uint8_t* blue_;
  PixelLayout layout_;
};

/// One output channel of a matrix: a sum of three products, read from tables.
class MatrixRow {
 public:
  MatrixRow(const MatrixTable& table, size_t row) : products_(&table[3 * row]) {}

  uint8_t operator()(int r, int g, int b) const {
    const int64_t sum = int64_t{products_[0][r]} + products_[1][g] + products_[2][b];
    return static_cast<uint8_t>(std::clamp<int64_t>(sum, 0, 255));
  }

 private:
  const std::array<int32_t, 256>* products_;
};

/// Tone curves, then the colour matrix.
class MatrixWriter {
 public:
  MatrixWriter(const ToneCurves& curves, const MatrixTable& table, PixelLayout layout)
      : curves_(&curves), red_(table, 0), green_(table, 1), blue_(table, 2), layout_(layout) {}

  int bytes_per_pixel() const { return layout_.bytes; }

  void operator()(uint8_t* pixel, int raw_r, int raw_g, int raw_b) const {
    const int r = curves_->final_curve_r[raw_r];
    const int g = curves_->final_curve_g[raw_g];
    const int b = curves_->final_curve_b[raw_b];
    pixel[layout_.red_at] = red_(r, g, b);
    pixel[1] = green_(r, g, b);
    pixel[layout_.blue_at] = blue_(r, g, b);
  }

 private:
  const ToneCurves* curves_;
  MatrixRow red_;
  MatrixRow green_;
  MatrixRow blue_;
  PixelLayout layout_;
};

/// Tone curves, then the green row of the luma matrix.
class GreyWriter {
 public:
  GreyWriter(const ToneCurves& curves, const MatrixTable& table) : curves_(&curves), luma_(table, 1) {}

  static int bytes_per_pixel() { return 1; }

  void operator()(uint8_t* pixel, int r, int g, int b) const {
    *pixel = luma_(curves_->final_curve_r[r], curves_->final_curve_g[g], curves_->final_curve_b[b]);
  }

 private:
  const ToneCurves* curves_;
  MatrixRow luma_;
};

}  // namespace kxcam
