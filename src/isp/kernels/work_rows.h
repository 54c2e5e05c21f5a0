// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "isp/image_view.h"
#include "isp/index_map.h"
#include "isp/kernels/fast_corrections.h"
#include "isp/kernels/row_kernels.h"
#include "isp/sensor_layout.h"

namespace kxcam {
/// The columns or rows of a picture, and how they count the raw frame's columns or rows.
struct Axis {
  int size;
  bool mirrored;

  /// From picture to raw coordinates and back.
  int flipped(int i) const { return mirrored ? size - 1 - i : i; }
  /// cell_partner() of the raw frame, in picture coordinates.
  int partner(int i) const { return flipped(cell_partner(flipped(i), size)); }
};

/// The raw frame as it lies in the picture under mirrors and rotation. The demosaic treats rows and
/// columns, left and right, above and below alike, so it can run on the turned raw frame; only border
/// pixels have to know, because they take a missing green from the raw frame's row.
struct OrientedFrame {
  Axis columns;
  Axis rows;
  bool turned;  ///< the picture's columns are the raw frame's rows

  explicit OrientedFrame(const IndexMap& map);

  /// The phase of the turned frame from that of the raw one.
  BayerPhase turn(BayerPhase raw) const;
};

/// A few work rows of the oriented raw frame at a time, from the top of the picture downwards.
class WorkRowWindow {
 public:
  /// Columns of even and of odd rows whose samples are added up: bit 0 for even ones, bit 1 for odd ones.
  using Counted = std::array<int, 2>;

  /// `corrector`: gives the rows of that raw frame in its place; null when they are to be had as they are.
  /// `memory`: memory_size() bytes, from the beginning of a cache line on.
  WorkRowWindow(const RowKernels& kernels, const ImageView& raw, const OrientedFrame& frame,
                const Counted& counted, RowCorrector* corrector, uint8_t* memory);

  static size_t memory_size(const OrientedFrame& frame);

  /// Whether the raw rows are taken one by one from the first to the last, as a corrector gives them.
  static bool in_raw_order(const OrientedFrame& frame) { return !frame.turned && !frame.rows.mirrored; }

  /// Makes row `y` and the two before it available; to be called for every row in turn.
  void advance_to(int y);

  WorkRow row(int y) const { return {{slot(y), slot(y) + half_}}; }

  /// Sum of the counted raw samples of all rows so far.
  uint64_t sum() const { return sum_; }

  /// Raw samples that are worth asking for while row `y` is worked on: a cache line every 64 columns.
  struct Ahead {
    const uint8_t* samples;
    ptrdiff_t step;
  };
  Ahead ahead_of(int y) const;

 private:
  uint8_t* slot(int y) const { return first_slot_ + static_cast<size_t>(y & slot_mask_) * stride_; }
  void load_row(int y);
  void load_strip(int first);
  void add_up(int y);
  int samples_of(int parity) const { return (frame_.columns.size + 1 - parity) / 2; }

  const RowKernels& kernels_;
  const ImageView& raw_;
  const OrientedFrame& frame_;
  Counted counted_;
  RowCorrector* corrector_;
  int slot_mask_;
  uint8_t* first_slot_;
  size_t half_;     ///< distance of a row's odd columns from its even ones
  size_t stride_;   ///< of slots
  int loaded_ = 0;  ///< rows
  uint64_t sum_ = 0;
};

}  // namespace kxcam
