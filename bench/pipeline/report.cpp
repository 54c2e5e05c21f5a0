// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace kxcam::bench {
namespace {

constexpr std::array<std::string_view, 6> kShown = {
    "tables", "tables + matrix", "whole", "tables, rotate 90", "grey", "demosaic + LUT + transform"};
constexpr int kWidth = 760;
constexpr int kLabels = 260;
constexpr int kBar = 16;
constexpr double kUnit = 22;  // of OpenCV's demosaic

std::string_view color_of(std::string_view maker) {
  if (maker == "scalar") return "#9aa5b1";
  if (maker == "ssse3") return "#f0b429";
  if (maker == "avx2") return "#3e8ed0";
  if (maker == "avx512") return "#2f9e44";
  return "#7b5ea7";
}

}  // namespace

std::string table(const std::vector<Result>& results) {
  std::vector<std::pair<int, int>> sizes;
  for (const Result& r : results) {
    const std::pair size(r.width, r.height);
    if (std::ranges::find(sizes, size) == sizes.end()) sizes.push_back(size);
  }
  std::string heads = "| | by |";
  std::string rule = "|---|---|";
  for (const auto& [width, height] : sizes) {
    heads += fmt::format(" {0} x {1}: x demosaic | x memcpy |", width, height);
    rule += "---|---|";
  }
  std::string rows;
  for (const Result& first : results) {
    if (!first.cold || std::pair(first.width, first.height) != sizes.front()) continue;
    rows += fmt::format("| {} | {} |", first.task, first.maker);
    for (const Result& r : results) {
      if (!r.cold || r.task != first.task || r.maker != first.maker) continue;
      rows += fmt::format(" {:.2f} | {:.2f} |", r.to_demosaic, r.to_copy);
    }
    rows += "\n";
  }
  return heads + "\n" + rule + "\n" + rows;
}

std::string chart(const std::vector<Result>& results) {
  std::string bars;
  int y = 40;
  for (const std::string_view task : kShown) {
    for (const Result& r : results) {
      if (r.task != task || !r.cold || r.width != results.front().width) continue;
      const double length = r.to_demosaic * kUnit;
      bars += fmt::format(
          "<text x='{}' y='{}' text-anchor='end'>{}, {}</text>"
          "<rect x='{}' y='{}' width='{:.1f}' height='{}' fill='{}'/>"
          "<text x='{:.1f}' y='{}'>{:.2f}</text>\n",
          kLabels - 8, y + 12, r.task, r.maker, kLabels, y, length, kBar - 2, color_of(r.maker),
          kLabels + length + 6, y + 12, r.to_demosaic);
      y += kBar;
    }
    y += kBar / 2;
  }
  return fmt::format(
      "<svg xmlns='http://www.w3.org/2000/svg' width='{}' height='{}' font-family='sans-serif' "
      "font-size='12'>\n"
      "<rect width='100%' height='100%' fill='white'/>\n"
      "<text x='8' y='20' font-size='14'>Time of a colour picture, {} x {}, as a multiple of OpenCV's bare "
      "demosaic"
      "</text>\n"
      "<line x1='{}' y1='34' x2='{}' y2='{}' stroke='#c92a2a' stroke-dasharray='4 3'/>\n{}</svg>\n",
      kWidth, y + 8, results.front().width, results.front().height, kLabels + kUnit, kLabels + kUnit, y,
      bars);
}

}  // namespace kxcam::bench
