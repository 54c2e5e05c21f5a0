// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kxcam::bench {

/// A timing as ratios.
struct Result {
  int width;
  int height;
  bool cold;
  std::string task;
  std::string maker;
  double to_demosaic;  ///< of OpenCV, same size and input; the quickest runs of both
  double median_to_demosaic;
  double to_copy;  ///< memcpy of as many bytes as a colour picture moves
  double spread;
  double nanoseconds_per_pixel;  ///< printed only: it does not carry over to other machines
};

/// The timings with cold input as a table in Markdown: a row for a task and its maker, columns for each size.
std::string table(const std::vector<Result>& results);

/// Bars of the main tasks at every level for the first size with cold input, as SVG.
std::string chart(const std::vector<Result>& results);

}  // namespace kxcam::bench
