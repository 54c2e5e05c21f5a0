// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "isp/color_tables.h"

namespace kxcam {

/// A colour matrix as 16-bit arithmetic that gives its product tables back exactly: entry v of a term
/// is v x whole + (v x fraction >> 16), less 1 for the levels listed as exceptions, with the sign of
/// the term.
///
/// The exceptions come from products such as 2.8 x 45, which rounding takes below the whole number
/// that 2.8 x 5 reaches: no multiplier gives both.
///
/// invariant: no sum of three entries leaves int16.
struct FixedMatrix {
  static constexpr int kMaxExceptions = 96;

  struct Term {
    uint16_t whole;
    uint16_t fraction;
    bool negative;
  };

  struct Exception {
    uint8_t column;
    uint8_t level;
  };

  struct Row {
    Term terms[3];
    Exception exceptions[kMaxExceptions];
    int exception_count;
  };

  Row rows[3];
  /// Of the common shape: 0 <= M < 2 on the diagonal, -1 < M <= 0 elsewhere.
  bool plain;
};

/// False when the tables cannot be given back exactly. `blue_first`: for channels in the order blue,
/// green, red.
bool build_fixed_matrix(const MatrixTable& table, bool blue_first, FixedMatrix& matrix);

}  // namespace kxcam
