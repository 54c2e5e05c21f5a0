// SPDX-License-Identifier: Apache-2.0
// How long the pipeline takes beside OpenCV and memcpy: as ratios, which mean something on other machines
// too. The megapixels a second are for the person who runs it.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <regex>
#include <string>
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
  std::string only;
  std::string json;
  std::string chart;
  std::string table;
};

struct Size {
  int width;
  int height;
  bool everything;  ///< else what shows whether the cost of a pixel stays the same
};

constexpr Size kSizes[] = {{2592, 1944, true},  {5472, 3648, true},  {640, 480, false},
                           {1280, 1024, false}, {2048, 1536, false}, {3840, 2748, false}};

bool shows_cost_of_a_pixel(const Contender& contender) {
  const auto best = name_of(cpu_choice().level);
  return contender.maker == "opencv" || contender.maker == "memcpy" ||
         (contender.maker == best && (contender.task.starts_with("whole") || contender.task == "tables" ||
                                      contender.task == "tables + matrix"));
}

void flush(const std::vector<uint8_t>& bytes) {
  for (size_t i = 0; i < bytes.size(); i += 64) _mm_clflush(&bytes[i]);
}

const Timing& timing_of_task(const std::vector<Contender>& all, const std::vector<Timing>& timings,
                             const std::string& task) {
  const auto found = std::ranges::find(all, task, &Contender::task);
  return timings[static_cast<size_t>(found - all.begin())];
}

/// What there is to time on a size, without what was not asked for. What others are compared with stays.
std::vector<Contender> wanted(const Size& size, std::vector<Buffers>& sets, const Options& options) {
  std::vector<CpuLevel> levels;
  std::ranges::copy_if(kCpuLevels, std::back_inserter(levels), is_available);
  std::vector<Contender> all = contenders(size.width, size.height, sets, levels);
  const std::regex only(options.only);
  std::erase_if(all, [&](const Contender& c) {
    if (c.task == kDemosaic || c.task == kCopyForColor) return false;
    if (!size.everything && !shows_cost_of_a_pixel(c)) return true;
    return !std::regex_search(fmt::format("{} by {}", c.task, c.maker), only);
  });
  return all;
}

/// Times everything on one size, with the input in the caches or not.
std::vector<Result> measure_size(const Size& size, bool cold, const Options& options) {
  std::vector<Buffers> sets;
  for (uint32_t seed = 1; seed <= (cold ? 3U : 1U); ++seed) sets.emplace_back(size.width, size.height, seed);
  const std::vector<Contender> all = wanted(size, sets, options);
  const auto prepare = [&](const Contender& contender, size_t set) {
    if (!cold && !contender.arrange) contender.run(set);
    std::ranges::copy(sets[set].scenes[static_cast<size_t>(contender.scene)], sets[set].raw.begin());
    if (contender.arrange) contender.arrange(set);
    if (cold) flush(sets[set].raw);
  };
  const std::vector<Timing> timings = measure(all, options.rounds, sets.size(), prepare);
  const Timing& demosaic = timing_of_task(all, timings, kDemosaic);
  const Timing& copy = timing_of_task(all, timings, kCopyForColor);
  std::vector<Result> results;
  for (size_t i = 0; i < all.size(); ++i) {
    const Timing& own = timings[i];
    results.push_back({.width = size.width,
                       .height = size.height,
                       .cold = cold,
                       .task = all[i].task,
                       .maker = all[i].maker,
                       .to_demosaic = own.least / demosaic.least,
                       .median_to_demosaic = own.median / demosaic.median,
                       .to_copy = own.least / copy.least,
                       .spread = own.spread,
                       .nanoseconds_per_pixel = 1e9 * own.least / size.width / size.height});
  }
  return results;
}

void print(const std::vector<Result>& results) {
  fmt::print("{:<42}{:<9}{:>12}{:>10}{:>10}{:>9}{:>10}\n", "", "by", "x demosaic", "(median)", "x memcpy",
             "spread", "ns/pixel");
  for (const Result& r : results) {
    fmt::print("{:<42}{:<9}{:>12.3f}{:>10.3f}{:>10.2f}{:>8.0f}%{:>10.3f}\n", r.task, r.maker, r.to_demosaic,
               r.median_to_demosaic, r.to_copy, r.spread * 100, r.nanoseconds_per_pixel);
  }
  std::fflush(stdout);
}

nlohmann::ordered_json as_json(const Result& r) {
  return {{"width", r.width},
          {"height", r.height},
          {"input", r.cold ? "cold" : "warm"},
          {"task", r.task},
          {"by", r.maker},
          {"to_opencv_demosaic", r.to_demosaic},
          {"medians", r.median_to_demosaic},
          {"to_memcpy", r.to_copy},
          {"spread", r.spread}};
}

void run(const Options& options) {
  cv::setNumThreads(1);
  std::vector<Result> all;
  for (const Size& size : kSizes) {
    if (options.quick && &size != &kSizes[0]) break;
    for (const bool cold : {true, false}) {
      if (!cold && (options.quick || !size.everything)) continue;
      fmt::print("\n{} x {}, {} input, {} rounds\n", size.width, size.height, cold ? "cold" : "warm",
                 options.rounds);
      const std::vector<Result> results = measure_size(size, cold, options);
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
  app.add_flag("--quick", options.quick, "Five megapixels with cold input only");
  app.add_option("--only", options.only, "Regular expression: tasks to run, as 'whole by avx2'");
  app.add_option("--json", options.json, "File for the ratios");
  app.add_option("--table", options.table, "File for a table of them (Markdown)");
  app.add_option("--chart", options.chart, "File for a picture of them (SVG)");
  CLI11_PARSE(app, argc, argv);
  kxcam::bench::run(options);
  return 0;
}
