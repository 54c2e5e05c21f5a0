// SPDX-License-Identifier: Apache-2.0
#pragma once

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

/// Raw level of the colour `letter` at a pixel, found by looking around for sites of that letter: an
/// inner pixel takes the mean of those next to it, a border pixel one of its own cell. Knows nothing
/// of phases or kinds of row.
int naive_color(const Mosaic& mosaic, int x, int y, char letter);

/// A pixel of a monochrome frame as it is smoothed for a colour picture.
int naive_smoothed(const Mosaic& mosaic, int x, int y);

/// Output pixel number of raw pixel (x, y), moving it step by step: mirrors, then a clockwise turn.
int naive_place(int width, int height, int x, int y, bool mirror_x, bool mirror_y, bool rotate);

}  // namespace kxcam::test
