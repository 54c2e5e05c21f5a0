// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "isp/kernels/fixed_matrix.h"

namespace kxcam {

/// Bytes that may be read and written before and behind the samples of a corrected row and of either half of
/// a work row, whatever the level.
inline constexpr int kRowMargin = 64;

/// Bytes behind a row of pixels of so many bytes each that may be written, whatever the level.
constexpr size_t output_margin(int bytes_per_pixel) {
  return size_t{127} * bytes_per_pixel;
}

/// A table of 256 bytes, in the arrangement of the level that reads it.
struct alignas(64) Lookup {
  uint8_t bytes[256];
};

/// How the channels of a work row become output pixels. Channels are in output order: for B, G, R bytes
/// channel 0 is blue.
struct Finish {
  Lookup lookups[3];  ///< by channel; indexed by complemented samples
  FixedMatrix matrix;
};

/// How speckled a row is.
enum class Speckles : uint8_t {
  kFew,
  kMany,   ///< in many vectors
  kDense,  ///< and so close together that one repair leads to another
};

/// What the samples of a raw row are multiplied by: gain - columns[x].
struct RowGains {
  double gain;
  const double* columns;
  /// The same less 1, rounded down to fractions of 2^-fixed_bits: the sum of the row's entry and the
  /// column's, those of even and of odd columns apart. No bits: some gain is too far from 1.
  int fixed_bits;
  int16_t fixed_row;
  const int16_t* fixed_columns[2];
};

/// A row of complemented samples (255 - v), because the processor's average rounds up and on complements that
/// truncates. Those of even columns and those of odd ones lie apart: neighbours of one colour are neighbours
/// in memory then.
struct WorkRow {
  const uint8_t* samples[2];  ///< by column parity
};

/// A piece of a row of pixels to be made, from an even column on.
struct RowTask {
  /// Inner rows are interpolated; their first and last pixel have to be put right afterwards.
  bool interpolate;
  WorkRow above;
  WorkRow centre;
  WorkRow below;
  int green_column;   ///< the parity of the centre row's green columns
  bool own_is_first;  ///< the other colour of the centre row is channel 0, else channel 2

  WorkRow channels[3];  ///< in the order of Finish, when there is nothing to interpolate; monochrome rows
                        ///< have one

  const uint8_t* ahead;  ///< raw samples that will be wanted soon: a cache line every 64 pixels,
  ptrdiff_t ahead_step;  ///< this far apart

  uint8_t* out;  ///< with output_margin() behind the piece
  int width;

  /// While the pixels are made, as many whole cache lines of a piece made before leave past the caches. The
  /// caller owes a store fence then.
  const uint8_t* leaving;
  uint8_t* leaving_to;  ///< begins a cache line
  int leaving_lines;
};

/// Makes the pixels of a piece.
using FinishRow = void (*)(const Finish& finish, const RowTask& task);

/// The same, for pixels of three and of four bytes; a fourth byte keeps its value.
struct FinishColors {
  FinishRow bytes3;
  FinishRow bytes4;
};

/// The loops over rows of one instruction set. Raw rows are touched within their bounds only, the rows that
/// are worked on up to kRowMargin bytes beyond.
struct RowKernels {
  /// Multiplies the samples below 255 of a raw row, truncated and clamped to bytes.
  void (*flatten)(const uint8_t* raw, int width, const RowGains& gains, uint8_t* row);
  /// Darkens the speckles among the samples first .. last - 1 of a corrected row, from left to right; above
  /// and below are the second rows from it. All three begin cache lines. Returns what to expect of the next
  /// row; what is expected decides on speed alone.
  Speckles (*despeckle)(Speckles expected, const uint8_t* above, uint8_t* row, const uint8_t* below,
                        int first, int last);

  /// Arranges a table for the kernels below.
  void (*arrange)(const uint8_t* table, Lookup& lookup);

  /// Makes a work row of a raw row, from left to right or from right to left. Returns the sum of the raw
  /// samples that the counted columns (bit 0: even ones, bit 1: odd ones) come from.
  uint64_t (*split)(const uint8_t* raw, int width, int counted, uint8_t* even, uint8_t* odd);
  uint64_t (*split_reversed)(const uint8_t* raw, int width, int counted, uint8_t* even, uint8_t* odd);
  /// `columns` raw columns as rows of `width` complemented samples: sample x of row i comes from
  /// raw[x * raw_stride + i] and goes to rows[i * row_stride + x].
  void (*transpose)(const uint8_t* raw, ptrdiff_t raw_stride, int width, int columns, uint8_t* rows,
                    ptrdiff_t row_stride);

  /// Sum of complemented samples, as they are.
  uint64_t (*sum)(const uint8_t* samples, int count);

  // Bilinear demosaic, then:
  FinishColors tables;        ///< three tables
  FinishColors plain_matrix;  ///< tables and a matrix of the plain shape
  FinishColors any_matrix;    ///< tables and any matrix
  FinishRow luma;             ///< the saturating sum of three tables, as one byte

  // Monochrome smoothing, then:
  FinishColors mono;    ///< one table, for all three channels
  FinishRow mono_grey;  ///< one table, as one byte
};

extern const RowKernels kSsse3Kernels;
extern const RowKernels kAvx2Kernels;
extern const RowKernels kAvx512Kernels;

}  // namespace kxcam
