// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "isp/kernels/fixed_matrix.h"

namespace kxcam {

/// Bytes that may be read and written before and behind the pixels of a work row, whatever the level.
inline constexpr int kRowMargin = 64;

/// A table of 256 bytes, in the arrangement of the level that reads it.
struct alignas(64) Lookup {
  uint8_t bytes[256];
};

/// How a row of work planes becomes output pixels. Channels are in output order: for B, G, R bytes
/// channel 0 is blue.
struct Finish {
  Lookup lookups[3];  ///< by channel; indexed by complemented samples
  FixedMatrix matrix;
};

/// Three adjoining work rows.
struct WorkRows {
  const uint8_t* above;
  const uint8_t* centre;
  const uint8_t* below;
};

/// Columns of a work row, as a pattern for the 16 bits of two samples.
inline constexpr uint16_t kEvenColumns = 0x00FF;
inline constexpr uint16_t kOddColumns = 0xFF00;
inline constexpr uint16_t kAllColumns = 0xFFFF;

/// A row of pixels to be made. Its channels are planes of complemented samples, in the order of Finish;
/// monochrome rows have one.
struct RowTask {
  /// Inner rows are interpolated from work rows, but for their first and last pixel.
  bool interpolate;
  WorkRows rows;
  uint16_t green_columns;  ///< of the centre row
  bool own_is_first;       ///< the other colour of the centre row is channel 0, else channel 2
  uint8_t border_pixels[2][3];

  const uint8_t* planes[3];  ///< the channels when there is nothing to interpolate

  const uint8_t* ahead;  ///< raw samples that will be wanted soon: a cache line every 64 pixels,
  ptrdiff_t ahead_step;  ///< this far apart

  uint8_t* out;
  int width;
  bool stream;  ///< write past the caches; the caller owes a store fence then
};

/// Makes the pixels of a row.
using FinishRow = void (*)(const Finish& finish, const RowTask& task);

/// The same, for pixels of three and of four bytes; a fourth byte keeps its value.
struct FinishColors {
  FinishRow bytes3;
  FinishRow bytes4;
};

/// The loops over rows of one instruction set. Work rows hold complemented samples (255 - v), because
/// the processor's average rounds up and on complements that truncates; they have kRowMargin on both
/// sides, whose content is of no consequence. Raw rows and output are touched within their bounds only.
struct RowKernels {
  /// Multiplies the samples below 255 of a raw row by gain - columns[x], truncated and clamped to bytes;
  /// `rounded` are the columns as floats.
  void (*flatten)(uint8_t* row, int width, double gain, const double* columns, const float* rounded);
  /// Darkens the speckles among the samples first .. last - 1 of a raw row, from left to right; above and
  /// below are the second rows from it.
  void (*despeckle)(const uint8_t* above, uint8_t* row, const uint8_t* below, int first, int last);

  /// Arranges a table for the kernels below.
  void (*arrange)(const uint8_t* table, Lookup& lookup);

  /// Complemented copy of a raw row, from left to right or from right to left. Returns the sum of the raw
  /// samples that `counted` columns of the copy come from.
  uint64_t (*copy_row)(const uint8_t* raw, int width, uint16_t counted, uint8_t* row);
  uint64_t (*reverse_row)(const uint8_t* raw, int width, uint16_t counted, uint8_t* row);
  /// `columns` raw columns as work rows of `width` samples: sample x of row i comes from
  /// raw[x * raw_stride + i] and goes to rows[i * row_stride + x].
  void (*transpose)(const uint8_t* raw, ptrdiff_t raw_stride, int width, int columns, uint8_t* rows,
                    ptrdiff_t row_stride);

  /// Sum of the samples of a work row, complemented as they are, in some columns.
  uint64_t (*sum)(const uint8_t* row, int width, uint16_t columns);

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
