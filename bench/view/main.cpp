// SPDX-License-Identifier: Apache-2.0

// What `kxcam view` makes of each frame, against what the library takes to make the picture of it: of noise,
// which is the most that histograms and JPEG have to do, and of stripes that a lens has blurred.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <kxcam/extra.h>

#include "frame_figures.h"
#include "jpeg.h"
#include "preview.h"

namespace {

using namespace kxcam::view;

constexpr int kCamera = 0;
constexpr int kModel = 0x3500;
constexpr int kRounds = 15;
constexpr int kPreviewWidth = 1296;
constexpr double kFigureShare = 12.0 / 30;  ///< the page asks for figures 12 times a second

struct Part {
  const char* name;
  double share;  ///< of frames that need it
  std::function<void()> run;
  double best_ms = std::numeric_limits<double>::max();
};

double milliseconds_of(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::vector<uint8_t> scene(bool noise, int width, int height) {
  std::vector<uint8_t> raw(static_cast<size_t>(width) * static_cast<size_t>(height));
  uint32_t state = 1;
  for (size_t i = 0; i < raw.size(); ++i) {
    state = state * 1664525 + 1013904223;
    const double stripe = 128 + 100 * std::sin(static_cast<double>(i % static_cast<size_t>(width)) / 9);
    raw[i] = static_cast<uint8_t>(noise ? state >> 24 : stripe + (state >> 29));
  }
  return raw;
}

void measure(const char* what, const std::vector<uint8_t>& raw, int width, int height) {
  std::vector<uint8_t> scratch;
  std::vector<uint8_t> samples(3 * raw.size());
  const kxcam::Picture picture = {.width = width, .height = height, .channels = 3, .samples = samples};
  const kxcam::Picture frame = {.width = width, .height = height, .samples = raw};
  const Look look = {.part = {}, .width = kPreviewWidth};
  Look zebra = look;
  zebra.zebra = true;
  Preview preview;
  std::string jpeg;
  std::vector<Part> parts = {
      {"picture (the library)", 1,
       [&] {
         scratch = raw;
         const uint32_t failed =
             CameraISP(kCamera, scratch.data(), samples.data(), width, height, KXCAM_FORMAT_COLOR);
         if (failed != 0) std::fputs("bench_view: no picture\n", stderr);
       }},
      {"preview", 1, [&] { preview = make_preview(picture, look); }},
      {"JPEG of the preview", 1, [&] { jpeg = encode_jpeg(preview, 80); }},
      {"histograms", kFigureShare, [&] { picture_histograms(picture); }},
      {"histograms, raw", kFigureShare, [&] { raw_histograms(frame, KXCAM_BAYER_GRBG); }},
      {"sharpness of a ninth", kFigureShare,
       [&] {
         sharpness(picture, {width / 3, height / 3, width / 3, height / 3});
       }},
      {"preview with zebra", 0, [&] { make_preview(picture, zebra); }},
  };
  // In turn, so that a busy machine hits all of them.
  for (int round = 0; round < kRounds; ++round) {
    for (Part& part : parts) part.best_ms = std::min(part.best_ms, milliseconds_of(part.run));
  }
  const double own = parts.front().best_ms;
  double sum = 0;
  std::printf("%s, %d x %d\n", what, width, height);
  for (const Part& part : parts) {
    sum += part.share * part.best_ms;
    std::printf("  %-22s %6.2f ms  %5.2f of the picture's own cost\n", part.name, part.best_ms,
                part.best_ms / own);
  }
  std::printf("  %-22s %6.2f ms  %5.2f, at 30 frames/s %.0f %% of one core (JPEG %zu kB)\n\n", "each frame",
              sum, sum / own, sum * 3, jpeg.size() / 1000);
}

}  // namespace

int main() {
  int width = 0;
  int height = 0;
  if (CameraInitVirtual(kCamera, kModel, nullptr) != 0 || CameraGetImageSize(kCamera, &width, &height) != 0) {
    std::fputs("bench_view: no virtual camera\n", stderr);
    return 1;
  }
  measure("noise", scene(true, width, height), width, height);
  measure("stripes", scene(false, width, height), width, height);
  CameraFree(kCamera);
  return 0;
}
