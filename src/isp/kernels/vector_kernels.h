// SPDX-License-Identifier: Apache-2.0
// The row kernels for a vector type `V`: one of the structures in ssse3.cpp, avx2.cpp and avx512.cpp.
//
// Compiled for a newer processor than the rest of the library. Therefore nothing but templates over `V`,
// intrinsics and C functions may be used here and there: any other inline function, also of the standard
// library, could be emitted for the newer processor and be linked in place of everybody's copy.
#pragma once

#include <cstring>

#include "isp/kernels/row_kernels.h"
#include "isp/speckle.h"

namespace kxcam {

// Raw rows in place

/// What single precision may be wrong by, for gains up to kGreatestRoundedGain and products up to 256: gain
/// and entry each are off by 6e-8 of themselves, as are their difference, the product and what is added to
/// it.
inline constexpr float kRoundingError = 1e-4F;
inline constexpr double kGreatestRoundedGain = 1.25;

/// Most samples need no double precision: where a single-precision product is further from a whole number
/// than it may be wrong by, both truncate alike.
template <class V>
void flatten_row(uint8_t* row, int width, double gain, const double* columns, const float* rounded) {
  const bool rounding = gain <= kGreatestRoundedGain && gain >= -kGreatestRoundedGain;
  const auto rounded_gain = static_cast<float>(gain);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    if (rounding && V::flatten16_rounded(row + x, rounded_gain, rounded + x)) [[likely]]
      continue;
    V::flatten16(row + x, gain, columns + x);
  }
  for (; x < width; ++x) {
    double level = (gain - columns[x]) * row[x];
    level = level > 0 ? level : 0;  // what is no number becomes 0 as well
    level = level < 255 ? level : 255;
    if (row[x] != 255) row[x] = static_cast<uint8_t>(static_cast<int>(level));
  }
}

/// What despeckle() does to one sample; whether it was a speckle.
template <class V>
bool despeckle_sample(const uint8_t* above, uint8_t* row, const uint8_t* below, int x) {
  const int mean = (row[x - 2] + row[x + 2] + above[x] + below[x]) >> 2;
  if (row[x] < kLeastSpeckle || row[x] <= mean + kSpeckleTolerance) return false;
  row[x] = static_cast<uint8_t>(mean);
  return true;
}

/// The samples of a vector that may be speckles, from left to right. A repair makes a candidate of the sample
/// two further on.
template <class V>
[[gnu::noinline]] void despeckle_some(const uint8_t* above, uint8_t* row, const uint8_t* below, int x,
                                      uint64_t candidates) {
  while (candidates != 0) {
    const int i = __builtin_ctzll(candidates);
    candidates &= candidates - 1;
    if (despeckle_sample<V>(above, row, below, x + i) && i + 2 < V::kBytes) candidates |= uint64_t{4} << i;
  }
}

/// Those samples of a vector that have a bit in `wanted`.
template <class V>
[[gnu::always_inline]] inline void despeckle_vector(const uint8_t* above, uint8_t* row, const uint8_t* below,
                                                    int x, uint64_t wanted) {
  // Averages of averages are at most 1 too high.
  const auto across = V::average(V::load(row + x - 2), V::load(row + x + 2));
  const auto mean = V::average(across, V::average(V::load(above + x), V::load(below + x)));
  const auto limit =
      V::maximum(V::add_saturated(mean, V::set8(kSpeckleTolerance - 1)), V::set8(kLeastSpeckle - 1));
  const uint64_t candidates = V::above(V::load(row + x), limit) & wanted;
  if (candidates != 0) [[unlikely]]
    despeckle_some<V>(above, row, below, x, candidates);
}

template <class V>
void despeckle_row(const uint8_t* above, uint8_t* row, const uint8_t* below, int first, int last) {
  constexpr uint64_t kAll = ~uint64_t{0};
  int x = first;
  for (; x + V::kBytes <= last; x += V::kBytes) despeckle_vector<V>(above, row, below, x, kAll);
  if (x < last && last - first >= V::kBytes) {
    // The last vector overlaps the one before. What that has repaired must not be looked at again.
    despeckle_vector<V>(above, row, below, last - V::kBytes, kAll << (V::kBytes - (last - x)));
    return;
  }
  for (; x < last; ++x) despeckle_sample<V>(above, row, below, x);
}

// Raw rows to work rows

/// Stores complemented samples and adds up those that count.
template <class V>
class RowCopy {
 public:
  [[gnu::always_inline]] RowCopy(uint16_t counted, uint8_t* row)
      : counted_(V::set16(counted)), sums_(V::no_sums()), row_(row) {}

  [[gnu::always_inline]] void put(int x, typename V::Bytes samples) {
    V::store(row_ + x, V::complement(samples));
    sums_ = V::add_sums(sums_, V::bit_and(samples, counted_));
  }

  uint64_t sum() const { return V::total(sums_); }

 private:
  typename V::Bytes counted_;
  typename V::Bytes sums_;
  uint8_t* row_;
};

template <class V>
uint64_t copy_row(const uint8_t* raw, int width, uint16_t counted, uint8_t* row) {
  RowCopy<V> copy(counted, row);
  int x = 0;
  for (; x + V::kBytes <= width; x += V::kBytes) copy.put(x, V::load(raw + x));
  uint8_t rest[V::kBytes] = {};
  std::memcpy(rest, raw + x, width - x);
  copy.put(x, V::load(rest));
  return copy.sum();
}

template <class V>
uint64_t reverse_row(const uint8_t* raw, int width, uint16_t counted, uint8_t* row) {
  RowCopy<V> copy(counted, row);
  int x = 0;
  for (; x + V::kBytes <= width; x += V::kBytes)
    copy.put(x, V::reverse(V::load(raw + width - x - V::kBytes)));
  uint8_t rest[V::kBytes] = {};
  std::memcpy(rest + V::kBytes - (width - x), raw, width - x);
  copy.put(x, V::reverse(V::load(rest)));
  return copy.sum();
}

/// 16 raw columns of V::kBytes rows. Lane k of vector r starts as raw row 16 k + r; four interleavings
/// later vector r holds column r.
template <class V>
void transpose_tile(const uint8_t* raw, ptrdiff_t raw_stride, uint8_t* rows, ptrdiff_t row_stride) {
  typename V::Bytes tile[2][16];
#pragma GCC unroll 16
  for (int r = 0; r < 16; ++r) tile[0][r] = V::load_lanes(raw + r * raw_stride, 16 * raw_stride);
#pragma GCC unroll 4
  for (int pass = 0; pass < 4; ++pass) {
    const auto& from = tile[pass & 1];
    auto& to = tile[1 - (pass & 1)];
#pragma GCC unroll 8
    for (int r = 0; r < 8; ++r) {
      to[2 * r] = V::interleave_low(from[r], from[r + 8]);
      to[2 * r + 1] = V::interleave_high(from[r], from[r + 8]);
    }
  }
#pragma GCC unroll 16
  for (int r = 0; r < 16; ++r) V::store(rows + r * row_stride, V::complement(tile[0][r]));
}

template <class V>
void transpose(const uint8_t* raw, ptrdiff_t raw_stride, int width, int columns, uint8_t* rows,
               ptrdiff_t row_stride) {
  const int tiled = width >= V::kBytes ? columns / 16 * 16 : 0;
  for (int x = 0; tiled > 0 && x < width; x += V::kBytes) {
    const int at = x + V::kBytes <= width ? x : width - V::kBytes;  // the last tile overlaps the one before
    for (int i = 0; i < tiled; i += 16) {
      transpose_tile<V>(raw + at * raw_stride + i, raw_stride, rows + i * row_stride + at, row_stride);
    }
  }
  for (int i = tiled; i < columns; ++i) {
    for (int x = 0; x < width; ++x) {
      rows[i * row_stride + x] = static_cast<uint8_t>(~raw[x * raw_stride + i]);
    }
  }
}

template <class V>
uint64_t sum_of(const uint8_t* row, int width, uint16_t columns) {
  const auto mask = V::set16(columns);
  auto sums = V::no_sums();
  int x = 0;
  for (; x + V::kBytes <= width; x += V::kBytes) {
    sums = V::add_sums(sums, V::bit_and(V::load(row + x), mask));
  }
  uint8_t rest[V::kBytes] = {};
  std::memcpy(rest, row + x, width - x);
  return V::total(V::add_sums(sums, V::bit_and(V::load(rest), mask)));
}

// Work rows to channels

/// Two samples: their mean, and the bit that it lost.
template <class V>
struct Pair {
  [[gnu::always_inline]] Pair(typename V::Bytes a, typename V::Bytes b)
      : mean(V::average(a, b)), difference(V::bit_xor(a, b)) {}

  typename V::Bytes mean;
  typename V::Bytes difference;  ///< its lowest bit counts
};

/// Averaging the means of two pairs truncates three times. That is one too little where all three lost
/// a bit (on complemented samples: one too much).
template <class V>
[[gnu::always_inline]] inline typename V::Bytes mean_of_four(const Pair<V>& first, const Pair<V>& second) {
  const Pair<V> means(first.mean, second.mean);
  const auto lost = V::bit_and(V::bit_and(first.difference, second.difference), means.difference);
  return V::subtract(means.mean, V::bit_and(lost, V::set8(1)));
}

template <class V>
class BayerSource {
 public:
  static constexpr int kChannels = 3;

  [[gnu::always_inline]] explicit BayerSource(const RowTask& task)
      : task_(task), at_green_(V::selector(task.green_columns)) {}

  /// Blocks begin at x from now on, and then every 64 columns.
  [[gnu::always_inline]] void start_from(int x) {
    at_green_ = V::selector(x % 2 == 0 ? task_.green_columns : task_.green_columns ^ kAllColumns);
  }

  [[gnu::always_inline]] void load(int x, typename V::Bytes (&c)[3]) const {
    if (!task_.interpolate) {
      for (int i = 0; i < 3; ++i) c[i] = V::load(task_.planes[i] + x);
      return;
    }
    const WorkRows& rows = task_.rows;
    const auto centre = V::load(rows.centre + x);
    const Pair<V> across(V::load(rows.centre + x - 1), V::load(rows.centre + x + 1));
    const Pair<V> down(V::load(rows.above + x), V::load(rows.below + x));
    const Pair<V> left(V::load(rows.above + x - 1), V::load(rows.below + x - 1));
    const Pair<V> right(V::load(rows.above + x + 1), V::load(rows.below + x + 1));
    const auto own = V::select(at_green_, across.mean, centre);
    const auto other = V::select(at_green_, down.mean, mean_of_four(left, right));
    c[1] = V::select(at_green_, centre, mean_of_four(across, down));
    c[0] = task_.own_is_first ? own : other;
    c[2] = task_.own_is_first ? other : own;
  }

 private:
  const RowTask& task_;
  typename V::Selector at_green_;
};

template <class V>
class MonoSource {
 public:
  static constexpr int kChannels = 1;

  [[gnu::always_inline]] explicit MonoSource(const RowTask& task) : task_(task) {}

  void start_from(int) {}

  [[gnu::always_inline]] void load(int x, typename V::Bytes (&c)[3]) const {
    if (!task_.interpolate) {
      c[0] = V::load(task_.planes[0] + x);
      return;
    }
    const WorkRows& rows = task_.rows;
    const auto across = V::average(V::load(rows.centre + x - 1), V::load(rows.centre + x + 1));
    const auto down = V::average(V::load(rows.above + x), V::load(rows.below + x));
    c[0] = V::average(V::average(across, down), V::load(rows.centre + x));
  }

 private:
  const RowTask& task_;
};

// Channels to output values

/// Pixels are made in blocks that fill whole cache lines.
inline constexpr int kBlock = 64;
template <class V>
inline constexpr int kVectors = kBlock / V::kBytes;
template <class V>
using BlockChannels = typename V::Bytes[3][kVectors<V>];

/// Three tables.
template <class V>
class Tables {
 public:
  using Source = BayerSource<V>;

  [[gnu::always_inline]] explicit Tables(const Finish& finish)
      : tables_{V::table(finish.lookups[0]), V::table(finish.lookups[1]), V::table(finish.lookups[2])} {}

  [[gnu::always_inline]] void apply(BlockChannels<V>& c) const {
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) V::look_up(tables_[i], c[i]);
  }

 private:
  typename V::Table tables_[3];
};

/// Three tables, then a matrix.
template <class V, bool kPlain>
class TablesAndMatrix {
 public:
  using Source = BayerSource<V>;

  [[gnu::always_inline]] explicit TablesAndMatrix(const Finish& finish) : tables_(finish) {
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) {
      const FixedMatrix::Row& row = finish.matrix.rows[i];
      int negative = 0;
#pragma GCC unroll 3
      for (int j = 0; j < 3; ++j) {
        const FixedMatrix::Term& term = row.terms[j];
        negative += term.negative;
        fraction_[i][j] = V::set16(term.fraction);
        if constexpr (!kPlain) {
          sign_[i][j] = V::set16(term.negative ? 0xFFFF : 0);
          whole_[i][j] = V::set16(static_cast<uint16_t>(term.negative ? -term.whole : term.whole));
        } else if (i == j) {
          whole_[i][j] = V::set16(term.whole != 0 ? 0xFFFF : 0);
        }
      }
      bias_[i] = V::set16(static_cast<uint16_t>(negative));
      rows_[i] = &row;
    }
  }

  [[gnu::always_inline]] void apply(BlockChannels<V>& block) const {
    tables_.apply(block);
#pragma GCC unroll 4
    for (int v = 0; v < kVectors<V>; ++v) {
      Bytes c[3] = {block[0][v], block[1][v], block[2][v]};
      multiply(c);
#pragma GCC unroll 3
      for (int i = 0; i < 3; ++i) block[i][v] = c[i];
    }
  }

 private:
  using Bytes = typename V::Bytes;

  [[gnu::always_inline]] void multiply(Bytes (&c)[3]) const {
    Bytes sums[3][2];
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      Bytes wide[3];
#pragma GCC unroll 3
      for (int j = 0; j < 3; ++j) wide[j] = half == 0 ? V::widen_low(c[j]) : V::widen_high(c[j]);
#pragma GCC unroll 3
      for (int i = 0; i < 3; ++i) sums[i][half] = kPlain ? plain_sum(i, wide) : any_sum(i, wide);
    }
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) {
      if (rows_[i]->exception_count != 0) [[unlikely]]
        correct(*rows_[i], c, sums[i]);
    }
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) c[i] = V::narrow(sums[i][0], sums[i][1]);
  }

  [[gnu::always_inline]] Bytes plain_sum(int i, const Bytes (&wide)[3]) const {
    const int j = i == 0 ? 1 : 0;
    const int k = i == 2 ? 1 : 2;
    const Bytes own =
        V::add16(V::multiply_high16(wide[i], fraction_[i][i]), V::bit_and(wide[i], whole_[i][i]));
    return V::subtract16(own, V::add16(V::multiply_high16(wide[j], fraction_[i][j]),
                                       V::multiply_high16(wide[k], fraction_[i][k])));
  }

  /// A negative product is the complement of a positive one, plus 1 out of the bias.
  [[gnu::always_inline]] Bytes any_sum(int i, const Bytes (&wide)[3]) const {
    Bytes sum = bias_[i];
#pragma GCC unroll 3
    for (int j = 0; j < 3; ++j) {
      const Bytes part = V::bit_xor(V::multiply_high16(wide[j], fraction_[i][j]), sign_[i][j]);
      sum = V::add16(sum, V::add16(part, V::multiply16(wide[j], whole_[i][j])));
    }
    return sum;
  }

  [[gnu::always_inline]] static void correct(const FixedMatrix::Row& row, const Bytes (&c)[3],
                                             Bytes (&sums)[2]) {
    Bytes correction = V::set8(0);
    for (int e = 0; e < row.exception_count; ++e) {
      const auto [column, level] = row.exceptions[e];
      const Bytes minus_one = V::equal(column == 0 ? c[0] : column == 1 ? c[1] : c[2], V::set8(level));
      correction =
          row.terms[column].negative ? V::subtract(correction, minus_one) : V::add(correction, minus_one);
    }
    sums[0] = V::add16(sums[0], V::shift_right_signed16(V::interleave_low(correction, correction)));
    sums[1] = V::add16(sums[1], V::shift_right_signed16(V::interleave_high(correction, correction)));
  }

  Tables<V> tables_;
  Bytes fraction_[3][3];
  Bytes whole_[3][3];
  Bytes sign_[3][3];
  Bytes bias_[3];
  const FixedMatrix::Row* rows_[3];
};

template <class V>
using PlainMatrix = TablesAndMatrix<V, true>;
template <class V>
using AnyMatrix = TablesAndMatrix<V, false>;

/// The saturating sum of three tables.
template <class V>
class Luma {
 public:
  using Source = BayerSource<V>;

  [[gnu::always_inline]] explicit Luma(const Finish& finish) : tables_(finish) {}

  [[gnu::always_inline]] void apply(BlockChannels<V>& c) const {
    tables_.apply(c);
#pragma GCC unroll 4
    for (int v = 0; v < kVectors<V>; ++v) {
      c[0][v] = V::add_saturated(V::add_saturated(c[0][v], c[1][v]), c[2][v]);
    }
  }

 private:
  Tables<V> tables_;
};

/// One table.
template <class V>
class Mono {
 public:
  using Source = MonoSource<V>;

  [[gnu::always_inline]] explicit Mono(const Finish& finish) : table_(V::table(finish.lookups[0])) {}

  [[gnu::always_inline]] void apply(BlockChannels<V>& c) const {
    V::look_up(table_, c[0]);
#pragma GCC unroll 4
    for (int v = 0; v < kVectors<V>; ++v) c[1][v] = c[2][v] = c[0][v];
  }

 private:
  typename V::Table table_;
};

// Output values to pixels

template <class V>
struct Stored {
  [[gnu::always_inline]] static void put(uint8_t* to, typename V::Bytes bytes) { V::store(to, bytes); }
};

template <class V>
struct Streamed {
  [[gnu::always_inline]] static void put(uint8_t* to, typename V::Bytes bytes) { V::stream(to, bytes); }
};

template <class V>
struct Grey {
  static constexpr int kBytes = 1;
  static constexpr bool kCanStream = true;
  /// Pixels from an address to the beginning of a cache line.
  static int to_line(unsigned address) { return static_cast<int>(-address & 63); }

  template <class Put>
  [[gnu::always_inline]] static void put(uint8_t* to, typename V::Bytes a, typename V::Bytes,
                                         typename V::Bytes) {
    Put::put(to, a);
  }
};

template <class V>
struct Color {
  static constexpr int kBytes = 3;
  static constexpr bool kCanStream = true;
  /// The same: 43 x 3 = 1 modulo 64.
  static int to_line(unsigned address) { return static_cast<int>((-address * 43) & 63); }

  template <class Put>
  [[gnu::always_inline]] static void put(uint8_t* to, typename V::Bytes a, typename V::Bytes b,
                                         typename V::Bytes c) {
    V::template put_interleaved3<Put>(to, a, b, c);
  }
};

template <class V>
struct PaddedColor {
  static constexpr int kBytes = 4;
  static constexpr bool kCanStream = false;  // the fourth byte has to be read
  static int to_line(unsigned) { return 0; }

  template <class Put>
  [[gnu::always_inline]] static void put(uint8_t* to, typename V::Bytes a, typename V::Bytes b,
                                         typename V::Bytes c) {
    V::put_interleaved4(to, a, b, c);
  }
};

template <class V, class Tone, class Pixel>
class RowFinisher {
 public:
  [[gnu::always_inline]] RowFinisher(const Finish& finish, const RowTask& task)
      : task_(task), source_(task), tone_(finish) {}

  [[gnu::always_inline]] void start_from(int x) { source_.start_from(x); }

  template <class Put>
  [[gnu::always_inline]] void put(int x) const {
    __builtin_prefetch(task_.ahead + x / kBlock * task_.ahead_step);
    BlockChannels<V> c;
    load(x, c);
    write<Put>(task_.out + ptrdiff_t{x} * Pixel::kBytes, c);
  }

  /// Pixels first .. last - 1 of a block, with the borders of the row and without touching any behind it.
  void put_some(int first, int last) const {
    const int bytes = Pixel::kBytes * (last - first);
    uint8_t* to = task_.out + ptrdiff_t{first} * Pixel::kBytes;
    alignas(64) uint8_t some[kBlock * Pixel::kBytes];
    if constexpr (Pixel::kBytes == 4) std::memcpy(some, to, bytes);
    BlockChannels<V> c;
    load(first, c);
    if (task_.interpolate) put_border(first, c);
    write<Stored<V>>(some, c);
    std::memcpy(to, some, bytes);
  }

 private:
  using Source = typename Tone::Source;

  [[gnu::always_inline]] void load(int x, BlockChannels<V>& c) const {
#pragma GCC unroll 4
    for (int v = 0; v < kVectors<V>; ++v) {
      typename V::Bytes channels[3];
      source_.load(x + V::kBytes * v, channels);
#pragma GCC unroll 3
      for (int i = 0; i < Source::kChannels; ++i) c[i][v] = channels[i];
    }
  }

  template <class Put>
  [[gnu::always_inline]] void write(uint8_t* to, BlockChannels<V>& c) const {
    tone_.apply(c);
#pragma GCC unroll 4
    for (int v = 0; v < kVectors<V>; ++v) {
      Pixel::template put<Put>(to + V::kBytes * Pixel::kBytes * v, c[0][v], c[1][v], c[2][v]);
    }
  }

  void put_border(int x, BlockChannels<V>& c) const {
    const int borders[2] = {0 - x, task_.width - 1 - x};
    for (int end = 0; end < 2; ++end) {
      if (borders[end] < 0 || borders[end] >= kBlock) continue;
      for (int i = 0; i < Source::kChannels; ++i) {
        auto* samples = reinterpret_cast<uint8_t*>(&c[i]);
        samples[borders[end]] = task_.border_pixels[end][i];
      }
    }
  }

  const RowTask& task_;
  Source source_;
  Tone tone_;
};

/// The first and the last pixel are left to put_some(), the rest is put in whole vectors.
template <class V, template <class> class Tone, template <class> class Pixel>
void finish_row(const Finish& finish, const RowTask& task) {
  RowFinisher<V, Tone<V>, Pixel<V>> row(finish, task);
  const int width = task.width;
  const int to_line = Pixel<V>::to_line(static_cast<unsigned>(reinterpret_cast<uintptr_t>(task.out)));
  int x = to_line != 0 ? to_line : kBlock;
  if (x > width) x = width;
  row.put_some(0, x);
  row.start_from(x);
  if (Pixel<V>::kCanStream && task.stream) {
    for (; x + kBlock < width; x += kBlock) row.template put<Streamed<V>>(x);
  } else {
    for (; x + kBlock < width; x += kBlock) row.template put<Stored<V>>(x);
  }
  if (x < width) row.put_some(x, width);
}

template <class V, template <class> class Tone>
constexpr FinishColors finish_colors() {
  return {finish_row<V, Tone, Color>, finish_row<V, Tone, PaddedColor>};
}

template <class V>
constexpr RowKernels row_kernels() {
  return {
      .flatten = flatten_row<V>,
      .despeckle = despeckle_row<V>,
      .arrange = V::arrange,
      .copy_row = copy_row<V>,
      .reverse_row = reverse_row<V>,
      .transpose = transpose<V>,
      .sum = sum_of<V>,
      .tables = finish_colors<V, Tables>(),
      .plain_matrix = finish_colors<V, PlainMatrix>(),
      .any_matrix = finish_colors<V, AnyMatrix>(),
      .luma = finish_row<V, Luma, Grey>,
      .mono = finish_colors<V, Mono>(),
      .mono_grey = finish_row<V, Mono, Grey>,
  };
}

}  // namespace kxcam
