// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "isp/flat_field.h"
#include "isp/image_view.h"
#include "isp/kernels/row_kernels.h"

namespace kxcam {

/// What apply_flat_field() and despeckle() are to do to a frame.
struct RowCorrections {
  MutableImageView frame;
  const FlatField* field;  ///< may be null
  int32_t x0;
  int32_t y0;
  bool despeckled;
  bool keep;  ///< the frame has to be left corrected
};

/// Does the same, bit for bit, row by row from the top, so that rows can be used while the caches have them.
class RowCorrector {
 public:
  /// Whether the tables cover the frame; nothing can be done here if not.
  static bool can(const RowCorrections& corrections);
  static size_t memory_size(const RowCorrections& corrections);

  /// Both are to outlive this. `memory`: memory_size() bytes, from the beginning of a cache line on.
  RowCorrector(const RowKernels& kernels, const RowCorrections& corrections, uint8_t* memory);

  /// The next row, corrected; valid until the one after it is asked for.
  const uint8_t* next_row();

 private:
  uint8_t* slot(int32_t y) const;
  void flatten(int32_t y) const;
  void despeckle(int32_t y);

  const RowKernels& kernels_;
  const RowCorrections& corrections_;
  uint8_t* first_slot_;
  size_t stride_;
  int32_t flat_ = 0;                    ///< rows
  int32_t final_ = 0;                   ///< rows
  Speckles speckles_ = Speckles::kFew;  ///< of the last row
};

/// Corrects a whole frame and leaves it so.
void correct_rows(const RowKernels& kernels, const RowCorrections& corrections, uint8_t* memory);

}  // namespace kxcam
