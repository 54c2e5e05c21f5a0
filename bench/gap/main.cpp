// SPDX-License-Identifier: Apache-2.0
// For how long a camera has nobody to send to between two transfers, and what its memory loses meanwhile:
// read by the library, by a plain loop and by two transfers that wait at the same time.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "stream/stream.h"

namespace kxcam::bench {
namespace {

constexpr double kMegabyte = 1e6;

struct Frames {
  const char* name;
  const char* model;
  double bytes;
};

constexpr Frames kFrames[] = {{"5.0 MB", "3500", 2592.0 * 1944}, {"10.1 MB", "3A00", 3664.0 * 2748}};
constexpr double kRates[] = {100, 380};    // MB/s
constexpr int kDepths[] = {16, 64, 1024};  // KiB

struct Contender {
  const char* name;
  Reader reader;
  bool in_real_time = false;
};
constexpr Contender kContenders[] = {{"plain loop", Reader::kPlain},
                                     {"library", Reader::kLibrary},
                                     {"library, in real time", Reader::kLibrary, true},
                                     {"two transfers", Reader::kQueued}};

/// Keeps all processors busy while it lives.
class Load {
 public:
  explicit Load(bool on) {
    for (unsigned n = 0; on && n < std::thread::hardware_concurrency(); ++n)
      threads_.emplace_back([this] {
        while (!ending_) {
        }
      });
  }
  ~Load() {
    ending_ = true;
    for (std::thread& thread : threads_) thread.join();
  }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

 private:
  std::atomic<bool> ending_ = false;
  std::vector<std::thread> threads_;
};

void measure(const Frames& frames, double rate, int depth, double seconds) {
  Stream stream(fmt::format("{},fps={},fifo={}K", frames.model, rate * kMegabyte / frames.bytes, depth));
  double unit = 0;  // the plain loop's usual gap
  for (const Contender& one : kContenders) {
    if (one.in_real_time) {
      setenv("KXCAM_READER_PRIORITY", "30", 1);
    } else {
      unsetenv("KXCAM_READER_PRIORITY");
    }
    const Run run = stream.read(one.reader, std::chrono::duration<double>(seconds));
    const double usual = quantile(run.gaps, 0.5);
    const double rare = quantile(run.gaps, 0.99);
    if (one.reader == Reader::kPlain) unit = usual;
    const double cut = run.frames == 0 ? 1 : static_cast<double>(run.cut) / static_cast<double>(run.frames);
    fmt::print("| {} | {:.0f} | {} | {} | {:.1f} | {:.1f} | {:.0f} | {:.0f} | {:.0f} % |\n", frames.name,
               rate, depth, one.name, usual / unit, rare / unit, usual, rare, 100 * std::min(cut, 1.0));
    std::fflush(stdout);
  }
}

}  // namespace
}  // namespace kxcam::bench

int main(int argc, char** argv) try {
  using namespace kxcam::bench;
  CLI::App app("For how long a camera has nobody to send to between two transfers");
  double seconds = 3;
  bool busy = false;
  app.add_option("--seconds", seconds, "of each measurement")->capture_default_str();
  app.add_flag("--busy", busy, "keep all processors busy beside");
  CLI11_PARSE(app, argc, argv);
  const Load load(busy);
  fmt::print(
      "| frame | MB/s | memory, KiB | read by | gap p50, x plain loop's | p99, x that | p50, us | p99, us | "
      "frames cut |\n|---|---|---|---|---|---|---|---|---|\n");
  for (const auto& frames : kFrames)
    for (const double rate : kRates)
      for (const int depth : kDepths) measure(frames, rate, depth, seconds);
  return 0;
} catch (const std::exception& error) {
  fmt::print(stderr, "bench_gap: {}\n", error.what());
  return 1;
}
