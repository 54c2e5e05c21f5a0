// SPDX-License-Identifier: Apache-2.0
// The row kernels for a vector type `V`: one of the structures in ssse3.cpp, avx2.cpp and avx512.cpp.
//
// Compiled for a newer processor than the rest of the library. Therefore nothing but templates over `V`,
// intrinsics and C functions may be used here and there: any other inline function, also of the standard
// library, could be emitted for the newer processor and be linked in place of everybody's copy.
#pragma once

#include <cstring>

#include "isp/kernels/row_kernels.h"

namespace kxcam {

// Raw rows to work rows

template <class V>
void copy_row(const uint8_t* raw, int width, const uint8_t* ahead, uint8_t* row) {
  int x = 0;
  for (; x + V::kBytes <= width; x += V::kBytes) {
    __builtin_prefetch(ahead + x);
    V::store(row + x, V::complement(V::load(raw + x)));
  }
  uint8_t rest[V::kBytes] = {};
  std::memcpy(rest, raw + x, width - x);
  V::store(row + x, V::complement(V::load(rest)));
}

template <class V>
void reverse_row(const uint8_t* raw, int width, const uint8_t* ahead, uint8_t* row) {
  int x = 0;
  for (; x + V::kBytes <= width; x += V::kBytes) {
    const int from = width - x - V::kBytes;
    __builtin_prefetch(ahead + from);
    V::store(row + x, V::complement(V::reverse(V::load(raw + from))));
  }
  uint8_t rest[V::kBytes] = {};
  std::memcpy(rest + V::kBytes - (width - x), raw, width - x);
  V::store(row + x, V::complement(V::reverse(V::load(rest))));
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

// Work rows to planes

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
void demosaic_row(const WorkRows& rows, int width, uint16_t green_columns, uint8_t* own, uint8_t* green,
                  uint8_t* other) {
  const auto at_green = V::selector(green_columns);
  for (int x = 0; x < width; x += V::kBytes) {
    const auto centre = V::load(rows.centre + x);
    const Pair<V> across(V::load(rows.centre + x - 1), V::load(rows.centre + x + 1));
    const Pair<V> down(V::load(rows.above + x), V::load(rows.below + x));
    const Pair<V> left(V::load(rows.above + x - 1), V::load(rows.below + x - 1));
    const Pair<V> right(V::load(rows.above + x + 1), V::load(rows.below + x + 1));
    V::store(own + x, V::select(at_green, across.mean, centre));
    V::store(green + x, V::select(at_green, centre, mean_of_four(across, down)));
    V::store(other + x, V::select(at_green, down.mean, mean_of_four(left, right)));
  }
}

template <class V>
void smooth_row(const WorkRows& rows, int width, uint8_t* out) {
  for (int x = 0; x < width; x += V::kBytes) {
    const auto across = V::average(V::load(rows.centre + x - 1), V::load(rows.centre + x + 1));
    const auto down = V::average(V::load(rows.above + x), V::load(rows.below + x));
    V::store(out + x, V::average(V::average(across, down), V::load(rows.centre + x)));
  }
}

// Planes to output values

/// Three tables.
template <class V>
class Tables {
 public:
  static constexpr int kPlanes = 3;

  [[gnu::always_inline]] explicit Tables(const Finish& finish)
      : tables_{V::table(finish.lookups[0]), V::table(finish.lookups[1]), V::table(finish.lookups[2])} {}

  [[gnu::always_inline]] void apply(typename V::Bytes (&c)[3]) const {
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) c[i] = V::look_up(tables_[i], c[i]);
  }

 private:
  typename V::Table tables_[3];
};

/// Three tables, then a matrix.
template <class V, bool kPlain>
class TablesAndMatrix {
 public:
  static constexpr int kPlanes = 3;

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

  [[gnu::always_inline]] void apply(typename V::Bytes (&c)[3]) const {
    tables_.apply(c);
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

 private:
  using Bytes = typename V::Bytes;

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
  static constexpr int kPlanes = 3;

  [[gnu::always_inline]] explicit Luma(const Finish& finish) : tables_(finish) {}

  [[gnu::always_inline]] void apply(typename V::Bytes (&c)[3]) const {
    tables_.apply(c);
    c[0] = V::add_saturated(V::add_saturated(c[0], c[1]), c[2]);
  }

 private:
  Tables<V> tables_;
};

/// One table.
template <class V>
class Mono {
 public:
  static constexpr int kPlanes = 1;

  [[gnu::always_inline]] explicit Mono(const Finish& finish) : table_(V::table(finish.lookups[0])) {}

  [[gnu::always_inline]] void apply(typename V::Bytes (&c)[3]) const {
    c[0] = c[1] = c[2] = V::look_up(table_, c[0]);
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
  /// Pixels from a byte of a cache line to its end.
  static int to_line_end(unsigned byte) { return static_cast<int>(-byte & 63); }

  template <class Put>
  [[gnu::always_inline]] static void put(uint8_t* to, const typename V::Bytes (&c)[3]) {
    Put::put(to, c[0]);
  }
};

template <class V>
struct Color {
  static constexpr int kBytes = 3;
  static constexpr bool kCanStream = true;
  /// Pixels from a byte of a cache line to one of the next lines' beginnings: 43 x 3 = 1 modulo 64.
  static int to_line_end(unsigned byte) { return static_cast<int>((-byte * 43) & 63); }

  template <class Put>
  [[gnu::always_inline]] static void put(uint8_t* to, const typename V::Bytes (&c)[3]) {
    V::template put_interleaved3<Put>(to, c[0], c[1], c[2]);
  }
};

template <class V>
struct PaddedColor {
  static constexpr int kBytes = 4;
  static constexpr bool kCanStream = false;  // the fourth byte has to be read
  static int to_line_end(unsigned) { return 0; }

  template <class Put>
  [[gnu::always_inline]] static void put(uint8_t* to, const typename V::Bytes (&c)[3]) {
    V::put_interleaved4(to, c[0], c[1], c[2]);
  }
};

template <class V, class Tone, class Pixel>
class RowFinisher {
 public:
  [[gnu::always_inline]] RowFinisher(const Finish& finish, const Planes& planes)
      : tone_(finish), planes_(planes) {}

  template <class Put>
  [[gnu::always_inline]] void put(uint8_t* out, int x) const {
    typename V::Bytes c[3];
#pragma GCC unroll 3
    for (int i = 0; i < Tone::kPlanes; ++i) c[i] = V::load(planes_.channel[i] + x);
    tone_.apply(c);
    Pixel::template put<Put>(out, c);
  }

  /// Pixels first .. last - 1 without touching any behind them.
  void put_some(uint8_t* out, int first, int last) const {
    for (int x = first; x < last; x += V::kBytes) {
      const int bytes = Pixel::kBytes * (last - x < V::kBytes ? last - x : V::kBytes);
      uint8_t* to = out + ptrdiff_t{x} * Pixel::kBytes;
      alignas(64) uint8_t some[V::kBytes * Pixel::kBytes];
      if constexpr (Pixel::kBytes == 4) std::memcpy(some, to, bytes);
      put<Stored<V>>(some, x);
      std::memcpy(to, some, bytes);
    }
  }

 private:
  Tone tone_;
  Planes planes_;
};

template <class V, template <class> class Tone, template <class> class Pixel>
void finish_row(const Finish& finish, const Planes& planes, uint8_t* out, int width, bool stream) {
  using PixelType = Pixel<V>;
  const RowFinisher<V, Tone<V>, PixelType> row(finish, planes);
  int x = 0;
  if (stream && PixelType::kCanStream) {
    const int head = PixelType::to_line_end(static_cast<unsigned>(reinterpret_cast<uintptr_t>(out)));
    x = head < width ? head : width;
    row.put_some(out, 0, x);
    for (; x + V::kBytes <= width; x += V::kBytes) {
      row.template put<Streamed<V>>(out + ptrdiff_t{x} * PixelType::kBytes, x);
    }
  } else {
    for (; x + V::kBytes <= width; x += V::kBytes) {
      row.template put<Stored<V>>(out + ptrdiff_t{x} * PixelType::kBytes, x);
    }
  }
  row.put_some(out, x, width);
}

template <class V, template <class> class Tone>
constexpr FinishColors finish_colors() {
  return {finish_row<V, Tone, Color>, finish_row<V, Tone, PaddedColor>};
}

template <class V>
constexpr RowKernels row_kernels() {
  return {
      .arrange = V::arrange,
      .copy_row = copy_row<V>,
      .reverse_row = reverse_row<V>,
      .transpose = transpose<V>,
      .sum = sum_of<V>,
      .demosaic = demosaic_row<V>,
      .smooth = smooth_row<V>,
      .tables = finish_colors<V, Tables>(),
      .plain_matrix = finish_colors<V, PlainMatrix>(),
      .any_matrix = finish_colors<V, AnyMatrix>(),
      .mono = finish_colors<V, Mono>(),
      .grey = finish_row<V, Luma, Grey>,
      .mono_grey = finish_row<V, Mono, Grey>,
  };
}

}  // namespace kxcam
