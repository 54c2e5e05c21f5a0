// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/bayer_phase.h"
#include "isp/index_map.h"

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

}  // namespace kxcam
