// SPDX-License-Identifier: Apache-2.0
#include "preview.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kxcam::view {
namespace {

constexpr int kLargestStep = 16;  ///< sums of a column fit 16 bits
constexpr uint8_t kFullScale = 255;
constexpr std::array<uint8_t, 3> kStripe = {255, 0, 80};

/// The rows that make one row of the preview, added up and with their maxima.
struct Rows {
  explicit Rows(std::size_t samples) : sums(samples), peaks(samples) {}

  void begin(const uint8_t* row) {
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = row[i];
    std::copy_n(row, peaks.size(), peaks.data());
  }
  void add(const uint8_t* row) {
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = static_cast<uint16_t>(sums[i] + row[i]);
  }
  void note_peaks(const uint8_t* row) {
    for (std::size_t i = 0; i < peaks.size(); ++i) peaks[i] = std::max(peaks[i], row[i]);
  }

  std::vector<uint16_t> sums;
  std::vector<uint8_t> peaks;
};

/// Means of `step` neighbours; `kStep` is the step where it is known when this is compiled.
template <int kStep, int kChannels>
void take_means(const Rows& rows, int step, int width, uint8_t* out) {
  const int steps = kStep > 0 ? kStep : step;
  const auto reciprocal = static_cast<uint32_t>((65536 + steps * steps / 2) / (steps * steps));
  const uint16_t* sums = rows.sums.data();
  for (int x = 0; x < width; ++x, sums += static_cast<std::ptrdiff_t>(steps) * kChannels) {
    for (int c = 0; c < kChannels; ++c) {
      uint32_t sum = 0;
      for (int i = 0; i < steps; ++i) sum += sums[i * kChannels + c];
      *out++ = static_cast<uint8_t>((sum * reciprocal + 32768) >> 16);
    }
  }
}

template <int kChannels>
void take_means(const Rows& rows, int step, int width, uint8_t* out) {
  switch (step) {
    case 2:
      return take_means<2, kChannels>(rows, step, width, out);
    case 3:
      return take_means<3, kChannels>(rows, step, width, out);
    default:
      return take_means<0, kChannels>(rows, step, width, out);
  }
}

/// Diagonal stripes on clipped pixels of row `y`.
void draw_stripes(const Rows& rows, const Preview& preview, int y, uint8_t* out) {
  const int samples = preview.step * preview.channels;
  const uint8_t* peaks = rows.peaks.data();
  for (int x = 0; x < preview.width; ++x, peaks += samples, out += preview.channels) {
    const bool clipped = std::any_of(peaks, peaks + samples, [](uint8_t peak) { return peak == kFullScale; });
    if (!clipped) continue;
    const bool stripe = ((x + y) & 4) != 0;
    for (int c = 0; c < preview.channels; ++c) {
      if (preview.channels == 1) {
        out[c] = stripe ? 255 : 0;
      } else if (stripe) {
        out[c] = kStripe[static_cast<std::size_t>(c)];
      }
    }
  }
}

}  // namespace

Preview make_preview(const Picture& picture, const Look& look) {
  const Rectangle all = {0, 0, picture.width, picture.height};
  Preview preview;
  preview.channels = picture.channels;
  preview.part = within(look.part.value_or(all), picture.width, picture.height).value_or(all);
  const int step_wanted = (preview.part.width + look.width - 1) / look.width;
  preview.step =
      std::clamp(std::min({step_wanted, preview.part.width, preview.part.height}), 1, kLargestStep);
  preview.width = preview.part.width / preview.step;
  preview.height = preview.part.height / preview.step;
  preview.part.width = preview.width * preview.step;
  preview.part.height = preview.height * preview.step;

  const auto pixel = static_cast<std::size_t>(picture.channels);
  const auto row_bytes = static_cast<std::size_t>(picture.width) * pixel;
  const auto out_bytes = static_cast<std::size_t>(preview.width) * pixel;
  preview.samples.resize(out_bytes * static_cast<std::size_t>(preview.height));
  Rows rows(out_bytes * static_cast<std::size_t>(preview.step));
  const uint8_t* row = picture.samples.data() + static_cast<std::size_t>(preview.part.y) * row_bytes +
                       static_cast<std::size_t>(preview.part.x) * pixel;
  uint8_t* out = preview.samples.data();
  for (int y = 0; y < preview.height; ++y, out += out_bytes) {
    rows.begin(row);
    row += row_bytes;
    for (int i = 1; i < preview.step; ++i, row += row_bytes) {
      rows.add(row);
      if (look.zebra) rows.note_peaks(row);
    }
    if (picture.channels == 3) {
      take_means<3>(rows, preview.step, preview.width, out);
    } else {
      take_means<1>(rows, preview.step, preview.width, out);
    }
    if (look.zebra) draw_stripes(rows, preview, y, out);
  }
  return preview;
}

}  // namespace kxcam::view
