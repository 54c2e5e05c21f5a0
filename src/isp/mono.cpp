// SPDX-License-Identifier: Apache-2.0
#include "isp/mono.h"

#include <algorithm>
#include <numeric>

#include "isp/output_runs.h"
#include "isp/pixel_writers.h"

namespace kxcam {
namespace {

/// Half of the weight on the centre, a quarter on each pair of neighbours; every step truncates.
int smoothed(const ImageView& raw, int x, int y) {
  const int across = (raw.at(x - 1, y) + raw.at(x + 1, y)) >> 1;
  const int down = (raw.at(x, y - 1) + raw.at(x, y + 1)) >> 1;
  return (across + 2 * raw.at(x, y) + down) >> 2;
}

void color_run(const ImageView& raw, int y, const OutputRun run, const uint8_t* curve, PixelLayout layout,
               uint8_t* out) {
  const auto put = [=](int x, int level) {
    uint8_t* pixel = out + ptrdiff_t{run.output_of(x)} * layout.bytes;
    pixel[0] = pixel[1] = pixel[2] = curve[level];
  };
  const bool border_row = y == 0 || y == raw.height() - 1;
  const int inner_first = border_row ? run.last : std::clamp(1, run.first, run.last);
  const int inner_last = std::clamp(raw.width() - 1, inner_first, run.last);
  for (int x = run.first; x < inner_first; ++x) put(x, raw.at(x, y));
  for (int x = inner_first; x < inner_last; ++x) put(x, smoothed(raw, x, y));
  for (int x = inner_last; x < run.last; ++x) put(x, raw.at(x, y));
}

int32_t mean_of(const ImageView& raw) {
  const auto samples = raw.samples();
  const int64_t sum = std::accumulate(samples.begin(), samples.end(), int64_t{0});
  return static_cast<int32_t>(sum / raw.height() / raw.width());
}

}  // namespace

int32_t RAW8toRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format) {
  const uint8_t* curve = settings.curves->mono_curve.data();
  const PixelLayout layout(format);
  for (int y = 0; y < raw.height(); ++y) {
    for_each_run(settings.index_map, raw.width(), y,
                 [&](const OutputRun& run) { color_run(raw, y, run, curve, layout, out); });
  }
  return mean_of(raw);
}

int32_t RAW8toGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int /*format*/) {
  const uint8_t* curve = settings.curves->mono_curve.data();
  for (int y = 0; y < raw.height(); ++y) {
    const uint8_t* row = raw.row(y).data();
    for_each_run(settings.index_map, raw.width(), y, [&](const OutputRun& run) {
      for (int x = run.first; x < run.last; ++x) out[run.output_of(x)] = curve[row[x]];
    });
  }
  return mean_of(raw);
}

}  // namespace kxcam
