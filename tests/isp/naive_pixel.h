// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kxcam::test {

/// A raw frame with the letters of its 2 x 2 cell, e.g. "BGGR"; "MMMM" for a monochrome one.
struct Mosaic {
  std::string_view cell;
  int width;
  int height;
  std::vector<uint8_t> samples;

  int at(int x, int y) const { return samples.at(y * width + x); }
  char letter(int x, int y) const { return cell[2 * (y & 1) + (x & 1)]; }
  bool inner(int x, int y) const { return x > 0 && y > 0 && x < width - 1 && y < height - 1; }
};

/// The site of the cell that (x, y) does not occupy along one axis; beyond the end of the frame the
/// cell is mirrored.
inline int other_in_cell(int i, int size) {
  if (size == 1) return i;
  const int other = i % 2 == 0 ? i + 1 : i - 1;
  return other < size ? other : i - 1;
}

inline int naive_border_color(const Mosaic& mosaic, int x, int y, char letter) {
  const int other_x = other_in_cell(x, mosaic.width);
  const int other_y = other_in_cell(y, mosaic.height);
  if (mosaic.letter(x, y) == letter) return mosaic.at(x, y);
  // The letters are looked up by parity alone, so that a frame of one row or column finds them too.
  if (mosaic.letter(x ^ 1, y) == letter) return mosaic.at(other_x, y);
  if (mosaic.letter(x, y ^ 1) == letter) return mosaic.at(x, other_y);
  return mosaic.at(other_x, other_y);
}

/// Raw level of the colour `letter` at a pixel, found by looking around for sites of that letter: an
/// inner pixel takes the mean of those next to it, a border pixel one of its own cell. Knows nothing
/// of phases or kinds of row.
inline int naive_color(const Mosaic& mosaic, int x, int y, char letter) {
  if (!mosaic.inner(x, y)) return naive_border_color(mosaic, x, y, letter);
  if (mosaic.letter(x, y) == letter) return mosaic.at(x, y);
  int sum = 0;
  int count = 0;
  for (int j = y - 1; j <= y + 1; ++j) {
    for (int i = x - 1; i <= x + 1; ++i) {
      if (mosaic.letter(i, j) != letter) continue;
      sum += mosaic.at(i, j);
      ++count;
    }
  }
  return sum / std::max(count, 1);
}

/// A pixel of a monochrome frame as it is smoothed for a colour picture.
inline int naive_smoothed(const Mosaic& mosaic, int x, int y) {
  if (!mosaic.inner(x, y)) return mosaic.at(x, y);
  const int horizontal = (mosaic.at(x - 1, y) + mosaic.at(x + 1, y)) / 2;
  const int vertical = (mosaic.at(x, y - 1) + mosaic.at(x, y + 1)) / 2;
  return (horizontal + vertical + 2 * mosaic.at(x, y)) / 4;
}

/// Output pixel number of raw pixel (x, y), moving it step by step: mirrors, then a clockwise turn.
inline int naive_place(int width, int height, int x, int y, bool mirror_x, bool mirror_y, bool rotate) {
  if (rotate) {
    // Under rotation the mirrors keep to the raw frame's axes.
    const int column = mirror_y ? y : height - 1 - y;
    const int row = mirror_x ? width - 1 - x : x;
    return row * height + column;
  }
  const int column = mirror_x ? width - 1 - x : x;
  const int row = mirror_y ? height - 1 - y : y;
  return row * width + column;
}

}  // namespace kxcam::test
