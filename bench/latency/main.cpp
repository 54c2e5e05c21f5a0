// SPDX-License-Identifier: Apache-2.0
// How long a frame takes from the camera to the program, and what the reader's thread costs, beside a plain
// loop around libusb that reads the same frames in the same run.
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "stream/stream.h"

namespace kxcam::bench {
namespace {

struct Case {
  const char* name;
  const char* camera;
  int width;
  int height;
};

// 75.4 frames of 5 megapixels are 380 MB.
constexpr Case kCases[] = {{"64 x 48, 200 a second", "3500,fps=200", 64, 48},
                           {"2592 x 1944, 75 a second: 380 MB/s", "3500,fps=75.4", 0, 0}};

void append(Run& to, const Run& from) {
  const auto add = [](Times& all, const Times& more) { all.insert(all.end(), more.begin(), more.end()); };
  add(to.since_made, from.since_made);
  add(to.since_arrived, from.since_arrived);
  add(to.copies, from.copies);
  to.load += from.load;
}

void measure(const Case& one, int rounds, double seconds) {
  Stream stream(one.camera, one.width, one.height);
  Run library;
  Run plain;
  for (int round = 0; round < rounds; ++round) {
    append(plain, stream.read(Reader::kCopying, std::chrono::duration<double>(seconds)));
    append(library, stream.read(Reader::kLibrary, std::chrono::duration<double>(seconds)));
  }
  fmt::print("{}\n", one.name);
  for (const double part : {0.5, 0.99}) {
    const double own = quantile(library.since_made, part);
    const double other = quantile(plain.since_made, part);
    const double copy = quantile(plain.copies, part);
    const double waited = quantile(library.since_arrived, part) - copy;
    fmt::print(
        "  p{:<3.0f} camera to program: {:.2f} times the plain loop's, {:.2f} times that of one that copies "
        "the "
        "frame ({:.0f}, {:.0f} and {:.0f} us); arrived to delivered, without the copy: {:.3f} ms\n",
        part * 100, own / other, own / (other + copy), own, other, other + copy, waited / 1e3);
  }
  fmt::print("  reader's thread: {:.1f} % of a core, the plain loop's {:.1f} %\n",
             100 * library.load / rounds, 100 * plain.load / rounds);
}

}  // namespace
}  // namespace kxcam::bench

int main(int argc, char** argv) try {
  CLI::App app("How long a frame takes from the camera to the program");
  int rounds = 5;
  double seconds = 4;
  app.add_option("--rounds", rounds, "times that both readers take their turn")->capture_default_str();
  app.add_option("--seconds", seconds, "of each turn")->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  for (const auto& one : kxcam::bench::kCases) kxcam::bench::measure(one, rounds, seconds);
  return 0;
} catch (const std::exception& error) {
  fmt::print(stderr, "bench_latency: {}\n", error.what());
  return 1;
}
