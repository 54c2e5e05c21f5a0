// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace kxcam::bench {
namespace {

constexpr std::array<std::string_view, 7> kShown = {
    "tables", "tables + matrix",           "whole", "whole, chart", "tables, rotate 90",
    "grey",   "demosaic + LUT + transform"};
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

std::string head(const std::vector<std::pair<int, int>>& sizes, bool with_copy) {
  std::string heads = "| | by |";
  std::string rule = "|---|---|";
  for (const auto& [width, height] : sizes) {
    heads += with_copy ? fmt::format(" {0} x {1}: x demosaic | x memcpy |", width, height)
                       : fmt::format(" {} x {} |", width, height);
    rule += with_copy ? "---|---|" : "---|";
  }
  return heads + "\n" + rule + "\n";
}

}  // namespace

std::string table(const std::vector<Result>& results) {
  std::vector<std::pair<int, int>> sizes;
  for (const Result& r : results) {
    const std::pair size(r.width, r.height);
    if (std::ranges::find(sizes, size) == sizes.end()) sizes.push_back(size);
  }
  const auto find = [&](const Result& like, const std::pair<int, int>& size) {
    return std::ranges::find_if(results, [&](const Result& r) {
      return r.cold && r.task == like.task && r.maker == like.maker && std::pair(r.width, r.height) == size;
    });
  };
  // All tasks on the first two sizes, then those that were run on every size.
  const std::vector<std::pair<int, int>> two(sizes.begin(),
                                             sizes.begin() + std::min<ptrdiff_t>(2, std::ssize(sizes)));
  std::string text = head(two, true);
  for (const Result& first : results) {
    if (!first.cold || std::pair(first.width, first.height) != sizes.front()) continue;
    text += fmt::format("| {} | {} |", first.task, first.maker);
    for (const auto& size : two) {
      const auto r = find(first, size);
      text += r == results.end() ? "| |" : fmt::format(" {:.2f} | {:.2f} |", r->to_demosaic, r->to_copy);
    }
    text += "\n";
  }
  if (sizes.size() <= two.size()) return text;
  std::ranges::sort(sizes);
  text += "\n" + head(sizes, false);
  for (const Result& first : results) {
    if (!first.cold ||
        std::ranges::any_of(sizes, [&](const auto& s) { return find(first, s) == results.end(); }))
      continue;
    if (std::pair(first.width, first.height) != sizes.front()) continue;
    text += fmt::format("| {} | {} |", first.task, first.maker);
    for (const auto& size : sizes) text += fmt::format(" {:.2f} |", find(first, size)->to_demosaic);
    text += "\n";
  }
  return text;
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
