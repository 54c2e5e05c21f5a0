// SPDX-License-Identifier: Apache-2.0
#include "frame_figures.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include <kxcam/extra.h>

namespace kxcam::view {
namespace {

/// Neighbours are often of the same level: each of four counts in a table of its own, so that none waits for
/// the count that the one before it stores.
constexpr std::size_t kTables = 4;

/// `kStride` samples from one of a colour to the next.
template <int kStride, class Level>
void count_row(const uint8_t* row, int samples, std::array<Histogram, kTables>& tables, Level level) {
  int x = 0;
  for (; x + static_cast<int>(kTables) <= samples; x += static_cast<int>(kTables)) {
    for (std::size_t t = 0; t < kTables; ++t)
      ++tables[t][level(row, static_cast<std::size_t>(x) * kStride + t * kStride)];
  }
  for (; x < samples; ++x) ++tables[0][level(row, static_cast<std::size_t>(x) * kStride)];
}

uint8_t byte_level(const uint8_t* row, std::size_t i) {
  return row[i];
}

/// The upper 8 of 12 bits; what the sensor cannot have meant is its full scale.
uint8_t word_level(const uint8_t* row, std::size_t i) {
  return static_cast<uint8_t>(std::min((row[2 * i] | row[2 * i + 1] << 8) >> 4, 255));
}

std::vector<Histogram> sums_of(const std::vector<std::array<Histogram, kTables>>& tables) {
  std::vector<Histogram> sums(tables.size());
  for (std::size_t c = 0; c < tables.size(); ++c) {
    for (const Histogram& table : tables[c])
      std::ranges::transform(sums[c], table, sums[c].begin(), std::plus<>());
  }
  return sums;
}

/// Colour (0 red, 1 green, 2 blue) of the first four pixels of a raw frame, by rows.
std::array<std::size_t, 4> colours_of(int bayer) {
  switch (bayer) {
    case KXCAM_BAYER_RGGB:
      return {0, 1, 1, 2};
    case KXCAM_BAYER_GRBG:
      return {1, 0, 2, 1};
    case KXCAM_BAYER_GBRG:
      return {1, 2, 0, 1};
    case KXCAM_BAYER_BGGR:
      return {2, 1, 1, 0};
    default:
      return {0, 0, 0, 0};
  }
}

}  // namespace

Levels levels_of(const Histogram& histogram) {
  const auto all = static_cast<double>(std::accumulate(histogram.begin(), histogram.end(), uint64_t{0}));
  if (!(all > 0)) return {};
  double sum = 0;
  for (std::size_t i = 0; i < histogram.size(); ++i) sum += static_cast<double>(i) * histogram[i];
  return {sum / all, 100.0 * histogram.back() / all, 100.0 * histogram.front() / all};
}

std::vector<Histogram> picture_histograms(const Picture& picture) {
  const auto channels = static_cast<std::size_t>(picture.channels);
  std::vector<std::array<Histogram, kTables>> tables(channels);
  const std::size_t row_bytes = static_cast<std::size_t>(picture.width) * channels;
  for (int y = 0; y < picture.height; y += 2) {
    const uint8_t* row = picture.samples.data() + static_cast<std::size_t>(y) * row_bytes;
    for (std::size_t c = 0; c < channels; ++c) {
      if (channels == 3) {
        count_row<3>(row + c, picture.width, tables[c], byte_level);
      } else {
        count_row<1>(row, picture.width, tables[c], byte_level);
      }
    }
  }
  return sums_of(tables);
}

std::vector<Histogram> raw_histograms(const Picture& raw, int bayer) {
  const auto colours = colours_of(bayer);
  std::vector<std::array<Histogram, kTables>> tables(bayer == KXCAM_BAYER_NONE ? 1 : 3);
  const auto sample = static_cast<std::size_t>(raw.bytes_per_sample());
  const std::size_t row_bytes = static_cast<std::size_t>(raw.width) * sample;
  for (int y = 0; y < raw.height; ++y) {
    if ((y & 2) != 0) continue;
    const uint8_t* row = raw.samples.data() + static_cast<std::size_t>(y) * row_bytes;
    for (std::size_t column = 0; column < 2; ++column) {
      auto& table = tables[colours[static_cast<std::size_t>(y & 1) * 2 + column]];
      const int samples = (raw.width + 1 - static_cast<int>(column)) / 2;
      if (sample == 1) {
        count_row<2>(row + column, samples, table, byte_level);
      } else {
        count_row<2>(row + 2 * column, samples, table, word_level);
      }
    }
  }
  return sums_of(tables);
}

double sharpness(const Picture& picture, const Rectangle& part) {
  constexpr int kDistance = 2;
  const auto seen = within(part, picture.width, picture.height);
  if (!seen || seen->width <= kDistance) return 0;
  const auto channels = static_cast<std::size_t>(picture.channels);
  const std::size_t green = channels == 3 ? 1 : 0;
  const auto differences = static_cast<std::size_t>(seen->width - kDistance);
  // Half of the rows tell as much of a large part.
  const int row_step = int64_t{seen->width} * seen->height > 500'000 ? 2 : 1;
  uint64_t sum = 0;
  uint64_t count = 0;
  for (int y = 0; y < seen->height; y += row_step) {
    const uint8_t* row = picture.samples.data() + green +
                         (static_cast<std::size_t>(seen->y + y) * static_cast<std::size_t>(picture.width) +
                          static_cast<std::size_t>(seen->x)) *
                             channels;
    uint64_t of_row = 0;
    for (std::size_t i = 0; i < differences; ++i) {
      const int difference = row[(i + kDistance) * channels] - row[i * channels];
      of_row += static_cast<uint32_t>(difference * difference);
    }
    sum += of_row;
    count += differences;
  }
  return std::sqrt(static_cast<double>(sum) / static_cast<double>(count));
}

}  // namespace kxcam::view
