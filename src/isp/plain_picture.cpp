// SPDX-License-Identifier: Apache-2.0
#include "isp/plain_picture.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "isp/index_map.h"
#include "isp/pixel_writers.h"
#include "isp/sensor_layout.h"

namespace kxcam {

namespace {

/// The colours of a pixel as its row sees them. That makes all phases and both kinds of row alike.
struct RowColors {
  int own;  // the red or blue that shares the row with green
  int green;
  int other;  // the one that shares the neighbouring rows with green
};

/// The three rows around an interior row.
struct RowWindow {
  RowWindow(const ImageView& raw, int y)
      : above(raw.row(y - 1).data()), centre(raw.row(y).data()), below(raw.row(y + 1).data()) {}

  RowColors at_green(int x) const {
    return {(centre[x - 1] + centre[x + 1]) >> 1, centre[x], (above[x] + below[x]) >> 1};
  }

  RowColors at_own(int x) const {
    const int cross = centre[x - 1] + centre[x + 1] + above[x] + below[x];
    const int diagonal = above[x - 1] + above[x + 1] + below[x - 1] + below[x + 1];
    return {centre[x], cross >> 2, diagonal >> 2};
  }

  const uint8_t* above;
  const uint8_t* centre;
  const uint8_t* below;
};

/// Border pixels take what they lack from their own cell, without averaging.
RowColors border_colors(const ImageView& raw, int x, int y, bool green) {
  const int across = cell_partner(x, raw.width());
  const int down = cell_partner(y, raw.height());
  if (green) return {raw.at(across, y), raw.at(x, y), raw.at(x, down)};
  return {raw.at(x, y), raw.at(across, y), raw.at(across, down)};
}

/// The part of row `y` that `run` covers. The writer is taken by value: the compiler need not expect
/// the output to overlay it.
template <bool kRedRow, class Writer>
void demosaic_run(const ImageView& raw, int y, int green_x, const OutputRun run, const Writer write,
                  uint8_t* out) {
  const auto put = [=](int x, const RowColors& colors) {
    uint8_t* pixel = out + ptrdiff_t{run.output_of(x)} * write.bytes_per_pixel();
    if constexpr (kRedRow) {
      write(pixel, colors.own, colors.green, colors.other);
    } else {
      write(pixel, colors.other, colors.green, colors.own);
    }
  };
  const auto is_green = [=](int x) { return (x & 1) == green_x; };
  const auto put_border = [&](int first, int last) {
    for (int x = first; x < last; ++x) put(x, border_colors(raw, x, y, is_green(x)));
  };

  if (y == 0 || y == raw.height() - 1) {
    put_border(run.first, run.last);
    return;
  }
  const int inner_first = std::clamp(1, run.first, run.last);
  const int inner_last = std::clamp(raw.width() - 1, inner_first, run.last);
  const RowWindow rows(raw, y);
  put_border(run.first, inner_first);
  for (int x = inner_first; x < inner_last; ++x) put(x, is_green(x) ? rows.at_green(x) : rows.at_own(x));
  put_border(inner_last, run.last);
}

int64_t sum_green(std::span<const uint8_t> row, int green_x) {
  int64_t sum = 0;
  for (size_t x = green_x; x < row.size(); x += 2) sum += row[x];
  return sum;
}

template <class Writer>
int32_t demosaic(BayerPhase phase, const IndexMap& map, const ImageView& raw, const Writer& write,
                 uint8_t* out) {
  int64_t green_sum = 0;
  for (int y = 0; y < raw.height(); ++y) {
    const int green_x = phase.green_x(y);
    const auto demosaic_row = phase.red_row(y) ? demosaic_run<true, Writer> : demosaic_run<false, Writer>;
    for_each_run(map, raw.width(), y,
                 [&](const OutputRun& run) { demosaic_row(raw, y, green_x, run, write, out); });
    green_sum += sum_green(raw.row(y), green_x);
  }
  return static_cast<int32_t>(green_sum * 2 / raw.height() / raw.width());
}

int32_t to_color(BayerPhase phase, const FrameSettings& settings, const ImageView& raw, uint8_t* out,
                 int format) {
  const PixelLayout layout(format);
  if (settings.apply_matrix) {
    const MatrixWriter write(*settings.curves, settings.matrix->color_matrix_table, layout);
    return demosaic(phase, settings.index_map, raw, write, out);
  }
  return demosaic(phase, settings.index_map, raw, ToneWriter(*settings.curves, layout), out);
}

int32_t to_grey(BayerPhase phase, const FrameSettings& settings, const ImageView& raw, uint8_t* out) {
  const GreyWriter write(*settings.curves, settings.matrix->grey_matrix_table);
  return demosaic(phase, settings.index_map, raw, write, out);
}

}  // namespace

int32_t BGGRtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format) {
  return to_color(kPhaseBGGR, settings, raw, out, format);
}

int32_t GBRGtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format) {
  return to_color(kPhaseGBRG, settings, raw, out, format);
}

int32_t GRBGtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format) {
  return to_color(kPhaseGRBG, settings, raw, out, format);
}

int32_t RGGBtoRGB888(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int format) {
  return to_color(kPhaseRGGB, settings, raw, out, format);
}

int32_t BGGRtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int /*format*/) {
  return to_grey(kPhaseBGGR, settings, raw, out);
}

int32_t GBRGtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int /*format*/) {
  return to_grey(kPhaseGBRG, settings, raw, out);
}

int32_t GRBGtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int /*format*/) {
  return to_grey(kPhaseGRBG, settings, raw, out);
}

int32_t RGGBtoGray8(const FrameSettings& settings, const ImageView& raw, uint8_t* out, int /*format*/) {
  return to_grey(kPhaseRGGB, settings, raw, out);
}

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
