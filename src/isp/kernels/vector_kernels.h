// SPDX-License-Identifier: Apache-2.0
// The row kernels for a vector type `V`: one of the structures in ssse3.cpp, avx2.cpp and avx512.cpp.
//
// Compiled for a newer processor than the rest of the library. Therefore nothing but templates over `V`,
// intrinsics and C functions may be used here and there: any other inline function, also of the standard
// library, could be emitted for the newer processor and be linked in place of everybody's copy.
#pragma once

#include <cstring>

#include "isp/defects.h"
#include "isp/kernels/row_kernels.h"

namespace kxcam {

// Means

/// Two samples: their mean, and the bit that it lost.
template <class V>
struct Pair {
  [[gnu::always_inline]] Pair(typename V::Bytes a, typename V::Bytes b)
      : mean(V::average(a, b)), difference(V::bit_xor(a, b)) {}

  typename V::Bytes mean;
  typename V::Bytes difference;  ///< its lowest bit counts
};

/// The mean of four samples, cut: every average rounds up, which together is 1 too much unless none of the
/// three lost a bit.
template <class V>
[[gnu::always_inline]] inline typename V::Bytes cut_mean_of_four(const Pair<V>& first,
                                                                 const Pair<V>& second) {
  const Pair<V> means(first.mean, second.mean);
  const auto lost = V::bit_or(V::bit_or(first.difference, second.difference), means.difference);
  return V::subtract(means.mean, V::bit_and(lost, V::set8(1)));
}

/// The same on complemented samples, where every average cuts: one too little where all three lost a bit.
template <class V>
[[gnu::always_inline]] inline typename V::Bytes mean_of_four(const Pair<V>& first, const Pair<V>& second) {
  const Pair<V> means(first.mean, second.mean);
  const auto lost = V::bit_and(V::bit_and(first.difference, second.difference), means.difference);
  return V::subtract(means.mean, V::bit_and(lost, V::set8(1)));
}

// Raw rows to corrected rows

/// The last samples of a row, followed by zeros.
template <class V>
typename V::Bytes load_rest(const uint8_t* from, int count) {
  uint8_t rest[V::kBytes] = {};
  std::memcpy(rest, from, count);
  return V::load(rest);
}

/// One sample, in double precision as the correction is defined.
template <class V>
uint8_t flat_sample(const RowGains& gains, int x, uint8_t sample) {
  double level = (gains.gain - gains.columns[x]) * sample;
  level = level > 0 ? level : 0;  // what is no number becomes 0 as well
  level = level < 255 ? level : 255;
  return sample == 255 ? sample : static_cast<uint8_t>(static_cast<int>(level));
}

/// Gains as 16-bit fractions. Row and column are rounded down, so the fixed sum G is too small by less than
/// two units: 1 + G <= gain <= 1 + G + 2 units. Both ends, and their products with a sample, are numbers that
/// double precision holds, and its rounding keeps the order: the double product lies between theirs. Where
/// these truncate alike, so does it, and that is everywhere but where the cut product with G ends in ones.
template <class V>
class FixedGains {
 public:
  using Bytes = typename V::Bytes;

  [[gnu::always_inline]] explicit FixedGains(const RowGains& gains)
      : gains_(gains),
        row_(V::set16(static_cast<uint16_t>(gains.fixed_row))),
        fraction_(V::set16(static_cast<uint16_t>((1 << (gains.fixed_bits - 9)) - 1))),
        even_shift_(V::shift(gains.fixed_bits - 9)),
        odd_shift_(V::shift(gains.fixed_bits - 9 - 8)) {}

  /// A vector of samples, the first of them in column x.
  [[gnu::always_inline]] void flatten(Bytes raw, int x, uint8_t* to) const {
    const Bytes even = product(V::shift_left16(raw, 7), 0, x);
    const Bytes odd = product(V::shift_right16(raw, 1), 1, x);
    const Bytes change =
        V::even_and_odd(V::shift_right_signed16(even, even_shift_), V::shift_right_signed16(odd, odd_shift_));
    const Bytes sign = V::set8(0x80);
    const Bytes flat = V::bit_xor(V::add_signed_saturated(V::bit_xor(raw, sign), change), sign);
    V::store(to, V::keep_saturated(raw, flat));
    const uint64_t doubtful[2] = {V::equal_lanes(V::bit_and(even, fraction_), fraction_),
                                  V::equal_lanes(V::bit_and(odd, fraction_), fraction_)};
    if ((doubtful[0] | doubtful[1]) != 0) [[unlikely]]
      repair(raw, x, doubtful, to);
  }

 private:
  /// Samples come seven bits up.
  [[gnu::always_inline]] Bytes product(Bytes shifted, int parity, int x) const {
    const auto* columns = reinterpret_cast<const uint8_t*>(gains_.fixed_columns[parity] + x / 2);
    return V::multiply_high_signed16(V::bit_and(shifted, V::set16(0x7F80)), V::add16(row_, V::load(columns)));
  }

  [[gnu::noinline]] void repair(Bytes raw, int x, const uint64_t (&doubtful)[2], uint8_t* to) const {
    alignas(64) uint8_t samples[V::kBytes];
    V::store(samples, raw);
    for (int parity = 0; parity < 2; ++parity) {
      for (uint64_t rest = doubtful[parity]; rest != 0; rest &= rest - 1) {
        const int i = 2 * (__builtin_ctzll(rest) / V::kLaneBits) + parity;
        // 0 stays 0, and behind the row there may be no gain to read.
        if (samples[i] != 0) to[i] = flat_sample<V>(gains_, x + i, samples[i]);
      }
    }
  }

  const RowGains& gains_;
  Bytes row_;
  Bytes fraction_;
  typename V::Shift even_shift_;
  typename V::Shift odd_shift_;
};

template <class V>
void flatten_row(const uint8_t* raw, int width, const RowGains& gains, uint8_t* row) {
  int x = 0;
  if (gains.fixed_bits == 0) {
    for (; x + 16 <= width; x += 16) V::flatten16(raw + x, gains.gain, gains.columns + x, row + x);
    for (; x < width; ++x) row[x] = flat_sample<V>(gains, x, raw[x]);
    return;
  }
  const FixedGains<V> fixed(gains);
  for (; x + V::kBytes <= width; x += V::kBytes) fixed.flatten(V::load(raw + x), x, row + x);
  fixed.flatten(load_rest<V>(raw + x, width - x), x, row + x);
}

/// A vector's worth of zeros, of ones and of zeros again.
struct Edges {
  uint8_t bytes[3 * 64];
};

constexpr Edges edges() {
  Edges result{};
  for (int i = 64; i < 128; ++i) result.bytes[i] = 0xFF;
  return result;
}

constexpr Edges kEdges = edges();  // not inline, which would be everybody's

/// The samples around a vector of a row that is despeckled.
template <class V>
class Surroundings {
 public:
  using Bytes = typename V::Bytes;

  [[gnu::always_inline]] Surroundings(Bytes samples, Bytes wanted, Bytes right, Bytes up, Bytes down)
      : samples_(samples), candidates_(V::bit_and(samples, wanted)), right_(right), column_(up, down) {}

  /// The repaired samples, if the vector to the left is `left` and `repaired` is what becomes of this one.
  [[gnu::always_inline]] Bytes repair(Bytes left, Bytes repaired) const {
    const Bytes mean = cut_mean_of_four(Pair<V>(V::from_left(left, repaired), right_), column_);
    const Bytes limit =
        V::maximum(V::add_saturated(mean, V::set8(kSpeckleTolerance)), V::set8(kLeastSpeckle - 1));
    return V::select_above(candidates_, limit, mean, samples_);
  }

 private:
  Bytes samples_;
  Bytes candidates_;
  Bytes right_;
  Pair<V> column_;
};

/// Repairs a row from left to right, vector by vector. A repair counts for the sample two further on, so a
/// vector is made anew with its own repairs until these stay as they are.
///
/// `kPasses` is how often that is done unasked. What a pass takes from the vector to the left is what that
/// had before the same pass, so that no vector waits for another and hardly a branch is guessed wrong; a
/// vector that has settled gives its final samples that way too. 0: each vector is looked at first.
template <class V, int kPasses>
class Despeckler {
 public:
  using Bytes = typename V::Bytes;

  [[gnu::always_inline]] Despeckler(const uint8_t* above, uint8_t* row, const uint8_t* below)
      : above_(above), row_(row), below_(below) {
    set_left(V::load(row - V::kBytes));
  }

  /// The samples of the next vector that have a bit in `wanted`.
  [[gnu::always_inline]] void repair(int x, Bytes wanted) {
    const Bytes samples = V::load(row_ + x);
    const Bytes right = V::load(row_ + x + 2);
    const Bytes up = V::load(above_ + x);
    const Bytes down = V::load(below_ + x);
    ++vectors_;
    if constexpr (kPasses == 0) {
      // Averages of averages are at most 1 too high.
      const Bytes mean = V::average(V::average(V::from_left(left_[0], samples), right), V::average(up, down));
      const Bytes limit =
          V::maximum(V::add_saturated(mean, V::set8(kSpeckleTolerance - 1)), V::set8(kLeastSpeckle - 1));
      if (!V::any_above(V::bit_and(samples, wanted), limit)) [[likely]] {
        left_[0] = samples;
        return;
      }
      ++repaired_;
      settle(Surroundings<V>(samples, wanted, right, up, down), left_[0], samples, x);
    } else {
      const Surroundings<V> surroundings(samples, wanted, right, up, down);
      const Bytes left = left_[kPasses - 1];  // its final samples
      Bytes made[kPasses + 1];
      made[0] = samples;
#pragma GCC unroll 4
      for (int pass = 0; pass < kPasses; ++pass) {
        made[pass + 1] = surroundings.repair(left_[pass], made[pass]);
        left_[pass] = made[pass];
      }
      V::store(row_ + x, made[kPasses]);
      repaired_ += V::same(made[1], samples) ? 0 : 1;
      spread_ += V::same(made[1], made[2]) ? 0 : 1;
      if (!V::same(made[kPasses - 1], made[kPasses])) [[unlikely]]
        settle(surroundings, left, made[kPasses], x);
    }
  }

  /// What to expect of the next row.
  [[gnu::always_inline]] Speckles seen() const {
    if (6 * spread_ > vectors_) return Speckles::kDense;
    return 6 * repaired_ > vectors_ ? Speckles::kMany : Speckles::kFew;
  }

 private:
  [[gnu::always_inline]] void set_left(Bytes samples) {
    for (Bytes& left : left_) left = samples;
  }

  [[gnu::always_inline]] void settle(const Surroundings<V>& surroundings, Bytes left, Bytes result, int x) {
    for (;;) {
      const Bytes next = surroundings.repair(left, result);
      if (V::same(next, result)) break;
      result = next;
    }
    V::store(row_ + x, result);
    set_left(result);
  }

  const uint8_t* above_;
  uint8_t* row_;
  const uint8_t* below_;
  Bytes left_[kPasses == 0 ? 1 : kPasses];  ///< the vector to the left before each pass
  int vectors_ = 0;
  int repaired_ = 0;  ///< vectors
  int spread_ = 0;    ///< those whose repairs led to others
};

template <class V, int kPasses>
Speckles despeckle_by(const uint8_t* above, uint8_t* row, const uint8_t* below, int first, int last) {
  Despeckler<V, kPasses> despeckler(above, row, below);
  const auto from = [](int i) { return V::load(kEdges.bytes + 64 - i); };
  const auto until = [](int i) { return V::load(kEdges.bytes + 128 - i); };
  if (last <= V::kBytes) {
    despeckler.repair(0, V::bit_and(from(first), until(last)));
    return despeckler.seen();
  }
  despeckler.repair(0, from(first));
  int x = V::kBytes;
  for (; x + V::kBytes <= last; x += V::kBytes) despeckler.repair(x, V::set8(0xFF));
  if (x < last) despeckler.repair(x, until(last - x));
  return despeckler.seen();
}

template <class V>
Speckles despeckle_row(Speckles expected, const uint8_t* above, uint8_t* row, const uint8_t* below, int first,
                       int last) {
  if (last <= first) return expected;
  switch (expected) {
    case Speckles::kFew:
      return despeckle_by<V, 0>(above, row, below, first, last);
    case Speckles::kMany:
      return despeckle_by<V, 2>(above, row, below, first, last);
    default:
      return despeckle_by<V, 4>(above, row, below, first, last);
  }
}

// Raw rows to work rows

/// Stores complemented samples and adds up those that count.
template <class V>
class RowSplit {
 public:
  using Bytes = typename V::Bytes;

  [[gnu::always_inline]] RowSplit(int counted, uint8_t* even, uint8_t* odd)
      : counted_{V::set8((counted & 1) != 0 ? 0xFF : 0), V::set8((counted & 2) != 0 ? 0xFF : 0)},
        sums_(V::no_sums()),
        rows_{even, odd} {}

  /// Two vectors of samples, the first of them in column x.
  [[gnu::always_inline]] void put(int x, Bytes first, Bytes second) {
    Bytes halves[2];
    V::split(first, second, halves);
#pragma GCC unroll 2
    for (int parity = 0; parity < 2; ++parity) {
      V::store(rows_[parity] + x / 2, V::complement(halves[parity]));
      sums_ = V::add_sums(sums_, V::bit_and(halves[parity], counted_[parity]));
    }
  }

  uint64_t sum() const {
    return V::total(sums_);
  }

 private:
  Bytes counted_[2];
  Bytes sums_;
  uint8_t* rows_[2];
};

template <class V>
uint64_t split_row(const uint8_t* raw, int width, int counted, uint8_t* even, uint8_t* odd) {
  constexpr int kBlock = 2 * V::kBytes;
  RowSplit<V> split(counted, even, odd);
  int x = 0;
  for (; x + kBlock <= width; x += kBlock) split.put(x, V::load(raw + x), V::load(raw + x + V::kBytes));
  uint8_t rest[kBlock] = {};
  std::memcpy(rest, raw + x, width - x);
  split.put(x, V::load(rest), V::load(rest + V::kBytes));
  return split.sum();
}

template <class V>
uint64_t split_row_reversed(const uint8_t* raw, int width, int counted, uint8_t* even, uint8_t* odd) {
  constexpr int kBlock = 2 * V::kBytes;
  RowSplit<V> split(counted, even, odd);
  const auto put = [&](int x, const uint8_t* from) {
    split.put(x, V::reverse(V::load(from + V::kBytes)), V::reverse(V::load(from)));
  };
  int x = 0;
  for (; x + kBlock <= width; x += kBlock) put(x, raw + width - x - kBlock);
  uint8_t rest[kBlock] = {};
  std::memcpy(rest + kBlock - (width - x), raw, width - x);
  put(x, rest);
  return split.sum();
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
uint64_t sum_of(const uint8_t* samples, int count) {
  auto sums = V::no_sums();
  int x = 0;
  for (; x + V::kBytes <= count; x += V::kBytes) sums = V::add_sums(sums, V::load(samples + x));
  return V::total(V::add_sums(sums, load_rest<V>(samples + x, count - x)));
}

// Work rows to channels

/// Pixels are made so many at a time and parity, so that what lies between the steps stays in the first
/// cache.
inline constexpr int kChunk = 512;

/// The samples of a channel, by column parity.
struct alignas(64) Plane {
  uint8_t samples[2][kChunk];
};

template <class V>
using Channels = typename V::Bytes[3][2];

/// What is interpolated from three work rows of a Bayer frame.
template <class V>
class BayerRow {
 public:
  using Bytes = typename V::Bytes;

  /// Sample 0 is sample `first` of each parity of the rows.
  [[gnu::always_inline]] BayerRow(const RowTask& task, int first)
      : green_column_(task.green_column),
        own_is_first_(task.own_is_first),
        across_(task.green_column == 0 ? 1 : -1) {
    const int green = task.green_column;
    centre_green_ = task.centre.samples[green] + first;
    centre_own_ = task.centre.samples[1 - green] + first;
    above_green_ = task.above.samples[1 - green] + first;
    below_green_ = task.below.samples[1 - green] + first;
    above_other_ = task.above.samples[green] + first;
    below_other_ = task.below.samples[green] + first;
  }

  [[gnu::always_inline]] void load(int i, Channels<V>& c) const {
    // At the green sites and at those of the row's own colour.
    const Bytes green = V::load(centre_green_ + i);
    const Bytes own = V::load(centre_own_ + i);
    const Bytes own_at_green = V::average(own, V::load(centre_own_ + i - across_));
    const Pair<V> column(V::load(above_other_ + i), V::load(below_other_ + i));
    const Pair<V> next_column(V::load(above_other_ + i + across_), V::load(below_other_ + i + across_));
    const Bytes other = mean_of_four(column, next_column);
    const Pair<V> sides(green, V::load(centre_green_ + i + across_));
    const Pair<V> ends(V::load(above_green_ + i), V::load(below_green_ + i));
    const Bytes green_at_own = mean_of_four(sides, ends);
    if (green_column_ == 0) {
      put(own_at_green, own, green, green_at_own, column.mean, other, c);
    } else {
      put(own, own_at_green, green_at_own, green, other, column.mean, c);
    }
  }

 private:
  [[gnu::always_inline]] void put(Bytes own_even, Bytes own_odd, Bytes green_even, Bytes green_odd,
                                  Bytes other_even, Bytes other_odd, Channels<V>& c) const {
    c[1][0] = green_even;
    c[1][1] = green_odd;
    c[0][0] = own_is_first_ ? own_even : other_even;
    c[0][1] = own_is_first_ ? own_odd : other_odd;
    c[2][0] = own_is_first_ ? other_even : own_even;
    c[2][1] = own_is_first_ ? other_odd : own_odd;
  }

  int green_column_;
  bool own_is_first_;
  ptrdiff_t across_;  ///< from a sample of the own colour's site to the green one on its other side
  const uint8_t* centre_green_;
  const uint8_t* centre_own_;
  const uint8_t* above_green_;
  const uint8_t* below_green_;
  const uint8_t* above_other_;
  const uint8_t* below_other_;
};

/// The same for monochrome frames.
template <class V>
class MonoRow {
 public:
  using Bytes = typename V::Bytes;

  [[gnu::always_inline]] MonoRow(const RowTask& task, int first) : task_(task), first_(first) {}

  [[gnu::always_inline]] void load(int i, Channels<V>& c) const {
    const int at = first_ + i;
    const Bytes even = V::load(task_.centre.samples[0] + at);
    const Bytes odd = V::load(task_.centre.samples[1] + at);
    c[0][0] = smoothed(0, even, odd, V::load(task_.centre.samples[1] + at - 1), at);
    c[0][1] = smoothed(1, odd, even, V::load(task_.centre.samples[0] + at + 1), at);
  }

 private:
  [[gnu::always_inline]] Bytes smoothed(int parity, Bytes centre, Bytes side, Bytes other_side,
                                        int at) const {
    const Bytes across = V::average(side, other_side);
    const Bytes down =
        V::average(V::load(task_.above.samples[parity] + at), V::load(task_.below.samples[parity] + at));
    return V::average(V::average(across, down), centre);
  }

  const RowTask& task_;
  int first_;
};

/// Samples that lie in planes.
template <class V, int kChannels>
class PlanarRow {
 public:
  [[gnu::always_inline]] explicit PlanarRow(const WorkRow* channels) : channels_(channels) {}

  [[gnu::always_inline]] void load(int i, Channels<V>& c) const {
#pragma GCC unroll 3
    for (int k = 0; k < kChannels; ++k) {
      c[k][0] = V::load(channels_[k].samples[0] + i);
      c[k][1] = V::load(channels_[k].samples[1] + i);
    }
  }

 private:
  const WorkRow* channels_;
};

// Channels to output values

/// The channels as they are.
template <class V>
class Tables {
 public:
  static constexpr int kChannels = 3;
  using Source = BayerRow<V>;

  [[gnu::always_inline]] explicit Tables(const Finish&) {}
  [[gnu::always_inline]] void apply(Channels<V>&) const {}
};

/// A matrix.
template <class V, bool kPlain>
class Matrix {
 public:
  static constexpr int kChannels = 3;
  using Source = BayerRow<V>;

  [[gnu::always_inline]] explicit Matrix(const Finish& finish) {
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

  [[gnu::always_inline]] void apply(Channels<V>& channels) const {
#pragma GCC unroll 2
    for (int parity = 0; parity < 2; ++parity) {
      Bytes c[3] = {channels[0][parity], channels[1][parity], channels[2][parity]};
      multiply(c);
#pragma GCC unroll 3
      for (int i = 0; i < 3; ++i) channels[i][parity] = c[i];
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

  Bytes fraction_[3][3];
  Bytes whole_[3][3];
  Bytes sign_[3][3];
  Bytes bias_[3];
  const FixedMatrix::Row* rows_[3];
};

template <class V>
using PlainMatrix = Matrix<V, true>;
template <class V>
using AnyMatrix = Matrix<V, false>;

/// The saturating sum.
template <class V>
class Luma {
 public:
  static constexpr int kChannels = 3;
  using Source = BayerRow<V>;

  [[gnu::always_inline]] explicit Luma(const Finish&) {}
  [[gnu::always_inline]] void apply(Channels<V>& c) const {
#pragma GCC unroll 2
    for (int parity = 0; parity < 2; ++parity)
      c[0][parity] = V::add_saturated(V::add_saturated(c[0][parity], c[1][parity]), c[2][parity]);
  }
};

/// One channel for all.
template <class V>
class Mono {
 public:
  static constexpr int kChannels = 1;
  using Source = MonoRow<V>;

  [[gnu::always_inline]] explicit Mono(const Finish&) {}
  [[gnu::always_inline]] void apply(Channels<V>& c) const {
#pragma GCC unroll 2
    for (int parity = 0; parity < 2; ++parity) c[1][parity] = c[2][parity] = c[0][parity];
  }
};

// Output values to pixels

template <class V>
struct Grey {
  static constexpr int kBytes = 1;

  [[gnu::always_inline]] static void put(uint8_t* to, const Channels<V>& c) {
    typename V::Bytes pixels[2];
    V::join(c[0], pixels);
    V::store(to, pixels[0]);
    V::store(to + V::kBytes, pixels[1]);
  }
};

template <class V>
struct Color {
  static constexpr int kBytes = 3;
  [[gnu::always_inline]] static void put(uint8_t* to, const Channels<V>& c) { V::put3(to, c); }
};

template <class V>
struct PaddedColor {
  static constexpr int kBytes = 4;
  [[gnu::always_inline]] static void put(uint8_t* to, const Channels<V>& c) {
    // The lines have to be read first, for the sake of the fourth bytes.
    constexpr int kAhead = 2048;
#pragma GCC unroll 8
    for (int i = 0; i < 8 * V::kBytes; i += 64) __builtin_prefetch(to + kAhead + i, 1);
    V::put4(to, c);
  }
};

/// Lets lines leave past the caches.
template <class V>
class Departure {
 public:
  [[gnu::always_inline]] explicit Departure(const RowTask& task)
      : from_(task.leaving), to_(task.leaving_to), left_(task.leaving_lines * (64 / V::kBytes)) {}

  /// As many vectors, if there still are so many.
  template <int kVectors>
  [[gnu::always_inline]] void go_on() {
    if (left_ < kVectors) return;
#pragma GCC unroll 8
    for (int i = 0; i < kVectors; ++i) V::stream(to_ + i * V::kBytes, V::load(from_ + i * V::kBytes));
    from_ += kVectors * V::kBytes;
    to_ += kVectors * V::kBytes;
    left_ -= kVectors;
  }

  void finish() {
    while (left_ > 0) go_on<1>();
  }

 private:
  const uint8_t* from_;
  uint8_t* to_;
  int left_;  ///< vectors
};

template <class V>
[[gnu::always_inline]] inline void prefetch_ahead(const RowTask& task, int i) {
  constexpr int kLineSamples = 32;  // of each parity
#pragma GCC unroll 2
  for (int k = 0; k < V::kBytes; k += kLineSamples) {
    __builtin_prefetch(task.ahead + (i + k) / kLineSamples * task.ahead_step);
  }
}

/// Makes the pixels of a piece from what a source gives. Tables in registers are looked up on the way.
template <class V, class Mix, class Pixel>
class PixelLoop {
 public:
  [[gnu::always_inline]] PixelLoop(const Finish& finish, const RowTask& task)
      : task_(task),
        tables_{V::table(finish.lookups[0]), V::table(finish.lookups[1]), V::table(finish.lookups[2])},
        mix_(finish),
        departure_(task) {}

  /// `count` pixels of each parity, from the first-th on.
  template <class Source>
  [[gnu::always_inline]] void make(const Source& source, int first, int count) {
    uint8_t* out = task_.out + ptrdiff_t{2 * Pixel::kBytes} * first;
    for (int i = 0; i < count; i += V::kBytes, out += 2 * Pixel::kBytes * V::kBytes) {
      if constexpr (V::kTablesInRegisters) go_on(first + i);
      Channels<V> c;
      source.load(i, c);
      if constexpr (V::kTablesInRegisters) {
#pragma GCC unroll 3
        for (int k = 0; k < Mix::kChannels; ++k) V::look_up(tables_[k], c[k]);
      }
      mix_.apply(c);
      Pixel::put(out, c);
    }
  }

  /// Replaces samples by table entries.
  [[gnu::noinline]] void look_up(const WorkRow (&from)[Mix::kChannels], int first, int count, Plane* planes) {
    for (int k = 0; k < Mix::kChannels; ++k) {
      for (int i = 0; i < count; i += V::kBytes) {
        if (k == 0) go_on(first + i);
        typename V::Bytes v[2] = {V::load(from[k].samples[0] + i), V::load(from[k].samples[1] + i)};
        V::look_up(tables_[k], v);
        V::store(planes[k].samples[0] + i, v[0]);
        V::store(planes[k].samples[1] + i, v[1]);
      }
    }
  }

  [[gnu::always_inline]] void finish() {
    departure_.finish();
  }

 private:
  /// Keeps the memory busy with what comes next and what went before.
  [[gnu::always_inline]] void go_on(int i) {
    prefetch_ahead<V>(task_, i);
    departure_.template go_on<2 * Pixel::kBytes>();
  }

  const RowTask& task_;
  typename V::Table tables_[3];
  Mix mix_;
  Departure<V> departure_;
};

template <class V, class Source, int kChannels>
[[gnu::noinline]] void make_planes(const RowTask& task, int first, int count, Plane* planes) {
  const Source source(task, first);
  for (int i = 0; i < count; i += V::kBytes) {
    Channels<V> c;
    source.load(i, c);
#pragma GCC unroll 3
    for (int k = 0; k < kChannels; ++k) {
      V::store(planes[k].samples[0] + i, c[k][0]);
      V::store(planes[k].samples[1] + i, c[k][1]);
    }
  }
}

template <class V, template <class> class Mix, template <class> class Pixel>
void finish_row(const Finish& finish, const RowTask& task) {
  constexpr int kChannels = Mix<V>::kChannels;
  using Source = typename Mix<V>::Source;
  PixelLoop<V, Mix<V>, Pixel<V>> loop(finish, task);
  const int cells = (task.width + 1) / 2;
  if constexpr (V::kTablesInRegisters) {
    if (task.interpolate) {
      loop.make(Source(task, 0), 0, cells);
    } else {
      loop.make(PlanarRow<V, kChannels>(task.channels), 0, cells);
    }
  } else {
    Plane planes[kChannels];
    WorkRow made[kChannels];
    for (int k = 0; k < kChannels; ++k) made[k] = {{planes[k].samples[0], planes[k].samples[1]}};
    for (int first = 0; first < cells; first += kChunk) {
      const int count = cells - first < kChunk ? cells - first : kChunk;
      WorkRow from[kChannels];
      for (int k = 0; k < kChannels; ++k) {
        from[k] = made[k];
        if (!task.interpolate)
          from[k] = {{task.channels[k].samples[0] + first, task.channels[k].samples[1] + first}};
      }
      if (task.interpolate) make_planes<V, Source, kChannels>(task, first, count, planes);
      loop.look_up(from, first, count, planes);
      loop.make(PlanarRow<V, kChannels>(made), first, count);
    }
  }
  loop.finish();
}

template <class V, template <class> class Mix>
constexpr FinishColors finish_colors() {
  return {finish_row<V, Mix, Color>, finish_row<V, Mix, PaddedColor>};
}

template <class V>
constexpr RowKernels row_kernels() {
  return {
      .flatten = flatten_row<V>,
      .despeckle = despeckle_row<V>,
      .arrange = V::arrange,
      .split = split_row<V>,
      .split_reversed = split_row_reversed<V>,
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
