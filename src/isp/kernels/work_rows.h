// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "isp/image_view.h"
#include "isp/kernels/oriented_frame.h"
#include "isp/kernels/row_kernels.h"

namespace kxcam {

/// Distance of work rows `width` samples wide, margins included. Odd in cache lines, so that one column
/// of many rows does not fall into one set of the cache.
size_t work_row_stride(int width);

/// A few work rows of the oriented raw frame at a time, from the top of the picture downwards.
class WorkRowWindow {
 public:
  /// Columns of even and of odd rows whose samples are added up.
  using Counted = std::array<uint16_t, 2>;

  /// `memory`: memory_size() bytes.
  WorkRowWindow(const RowKernels& kernels, const ImageView& raw, const OrientedFrame& frame,
                const Counted& counted, uint8_t* memory);

  static size_t memory_size(const OrientedFrame& frame);

  /// Makes row `y` and the two before it available; to be called for every row in turn.
  void advance_to(int y);

  const uint8_t* row(int y) const { return slot(y); }

  /// Sum of the counted raw samples of all rows so far.
  uint64_t sum() const { return sum_; }

  /// Raw samples that are worth asking for while row `y` is worked on: a cache line every 64 columns.
  struct Ahead {
    const uint8_t* samples;
    ptrdiff_t step;
  };
  Ahead ahead_of(int y) const;

 private:
  uint8_t* slot(int y) const;
  void load_row(int y);
  void load_strip(int first);
  void add_up(int y);

  const RowKernels& kernels_;
  const ImageView& raw_;
  const OrientedFrame& frame_;
  Counted counted_;
  uint8_t* first_slot_;
  size_t stride_;
  int loaded_ = 0;  ///< rows
  uint64_t sum_ = 0;
};

}  // namespace kxcam
