// SPDX-License-Identifier: Apache-2.0
// How long the pipeline takes beside OpenCV and memcpy: as ratios, which mean something on other machines
// too. The megapixels a second are for the person who runs it.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <emmintrin.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>

#include "contenders.h"
#include "report.h"

namespace kxcam::bench {
namespace {

struct Options {
  int rounds = 21;
  bool quick = false;
  std::string json;
  std::string chart;
  std::string table;
};

void flush(const std::vector<uint8_t>& bytes) {
  for (size_t i = 0; i < bytes.size(); i += 64) _mm_clflush(&bytes[i]);
}

double median_of(const std::vector<Contender>& all, const std::vector<Timing>& timings,
                 const std::string& task) {
  const auto found = std::ranges::find(all, task, &Contender::task);
  return timings[static_cast<size_t>(found - all.begin())].median;
}

/// Times everything on one size, with the input in the caches or not.
std::vector<Result> measure_size(int width, int height, bool cold, const Options& options) {
  std::vector<CpuLevel> levels;
  std::ranges::copy_if(kCpuLevels, std::back_inserter(levels), is_available);
  std::vector<Buffers> sets;
  for (uint32_t seed = 1; seed <= (cold ? 3U : 1U); ++seed) sets.emplace_back(width, height, seed);
  const std::vector<Contender> all = contenders(width, height, sets, levels);
  // Corrections change the frame: every run begins with the one that the second half of the buffer holds.
  const auto restore = [&](std::vector<uint8_t>& raw) {
    const auto half = static_cast<std::ptrdiff_t>(raw.size() / 2);
    std::copy(raw.begin() + half, raw.end(), raw.begin());
  };
  const auto prepare = [&](const Contender& contender, size_t set) {
    if (!cold) contender.run(set);
    restore(sets[set].raw);
    if (cold) flush(sets[set].raw);
  };
  const std::vector<Timing> timings = measure(all, options.rounds, sets.size(), prepare);
  const double demosaic = median_of(all, timings, kDemosaic);
  const double copy = median_of(all, timings, kCopyForColor);
  std::vector<Result> results;
  for (size_t i = 0; i < all.size(); ++i) {
    results.push_back({width, height, cold, all[i].task, all[i].maker, timings[i].median / demosaic,
                       timings[i].median / copy, timings[i].spread,
                       1e-6 * width * height / timings[i].median});
  }
  return results;
}

void print(const std::vector<Result>& results) {
  fmt::print("{:<42}{:<9}{:>12}{:>10}{:>9}{:>10}\n", "", "by", "x demosaic", "x memcpy", "spread",
             "Mpixel/s");
  for (const Result& r : results) {
    fmt::print("{:<42}{:<9}{:>12.3f}{:>10.2f}{:>8.0f}%{:>10.0f}\n", r.task, r.maker, r.to_demosaic, r.to_copy,
               r.spread * 100, r.megapixels_per_second);
  }
}

nlohmann::ordered_json as_json(const Result& r) {
  return {{"width", r.width},       {"height", r.height}, {"input", r.cold ? "cold" : "warm"},
          {"task", r.task},         {"by", r.maker},      {"to_opencv_demosaic", r.to_demosaic},
          {"to_memcpy", r.to_copy}, {"spread", r.spread}};
}

void run(const Options& options) {
  cv::setNumThreads(1);
  std::vector<std::pair<int, int>> sizes = {{2592, 1944}};
  if (!options.quick) sizes.emplace_back(5472, 3648);
  std::vector<Result> all;
  for (const auto& [width, height] : sizes) {
    for (const bool cold : {true, false}) {
      fmt::print("\n{} x {}, {} input, {} rounds\n", width, height, cold ? "cold" : "warm", options.rounds);
      const std::vector<Result> results = measure_size(width, height, cold, options);
      print(results);
      all.insert(all.end(), results.begin(), results.end());
    }
  }
  if (!options.json.empty()) {
    auto json = nlohmann::ordered_json::array();
    for (const Result& result : all) json.push_back(as_json(result));
    std::ofstream(options.json) << json.dump(2) << '\n';
  }
  if (!options.table.empty()) std::ofstream(options.table) << table(all);
  if (!options.chart.empty()) std::ofstream(options.chart) << chart(all);
}

}  // namespace
}  // namespace kxcam::bench

int main(int argc, char** argv) {
  kxcam::bench::Options options;
  CLI::App app("Compares the image pipeline with OpenCV and memcpy");
  app.add_option("--rounds", options.rounds, "Runs of every contender")->check(CLI::Range(3, 1000));
  app.add_flag("--quick", options.quick, "The smaller frame size only");
  app.add_option("--json", options.json, "File for the ratios");
  app.add_option("--table", options.table, "File for a table of them (Markdown)");
  app.add_option("--chart", options.chart, "File for a picture of them (SVG)");
  CLI11_PARSE(app, argc, argv);
  kxcam::bench::run(options);
  return 0;
}
