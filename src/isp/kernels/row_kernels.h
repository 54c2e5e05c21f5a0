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

/// The work planes of one row, in the order of Finish; a kernel that needs one plane reads the first.
struct Planes {
  const uint8_t* channel[3];
};

/// Writes `width` pixels. `stream`: past the caches, for a picture that does not fit them; the caller
/// then owes a store fence.
using FinishRow = void (*)(const Finish& finish, const Planes& planes, uint8_t* out, int width, bool stream);

/// The same, for pixels of three and of four bytes; a fourth byte keeps its value.
struct FinishColors {
  FinishRow bytes3;
  FinishRow bytes4;
};

/// The loops over rows of one instruction set. Work rows hold complemented samples (255 - v), because
/// the processor's average rounds up and on complements that truncates; they have kRowMargin on both
/// sides, whose content is of no consequence. Raw rows and output are touched within their bounds only.
struct RowKernels {
  /// Arranges a table for the kernels below.
  void (*arrange)(const uint8_t* table, Lookup& lookup);

  /// Complemented copy of a raw row, `ahead` is one that will be wanted soon.
  void (*copy_row)(const uint8_t* raw, int width, const uint8_t* ahead, uint8_t* row);
  /// The same from right to left.
  void (*reverse_row)(const uint8_t* raw, int width, const uint8_t* ahead, uint8_t* row);
  /// `columns` raw columns as work rows of `width` samples: sample x of row i comes from
  /// raw[x * raw_stride + i] and goes to rows[i * row_stride + x].
  void (*transpose)(const uint8_t* raw, ptrdiff_t raw_stride, int width, int columns, uint8_t* rows,
                    ptrdiff_t row_stride);

  /// Sum of the complemented samples at even (0x00FF) or odd (0xFF00) columns, or at both (0xFFFF).
  uint64_t (*sum)(const uint8_t* row, int width, uint16_t columns);

  /// Bilinear colours of a Bayer row, green sites being at `green_columns` as above; `own` is the other
  /// colour of this row, `other` that of its neighbours. The first and last pixel are not valid.
  void (*demosaic)(const WorkRows& rows, int width, uint16_t green_columns, uint8_t* own, uint8_t* green,
                   uint8_t* other);
  /// Smoothed monochrome row. The first and last pixel are not valid.
  void (*smooth)(const WorkRows& rows, int width, uint8_t* out);

  FinishColors tables;        ///< three tables
  FinishColors plain_matrix;  ///< tables, then a matrix of the plain shape
  FinishColors any_matrix;    ///< tables, then any matrix
  FinishColors mono;          ///< one plane and table for all three channels
  FinishRow grey;             ///< sum of three tables, saturating
  FinishRow mono_grey;        ///< one plane and table
};

extern const RowKernels kSsse3Kernels;
extern const RowKernels kAvx2Kernels;
extern const RowKernels kAvx512Kernels;

}  // namespace kxcam
