// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/fixed_matrix.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>

namespace kxcam {
namespace {

using Products = std::array<int32_t, 256>;

int64_t greatest_magnitude(const Products& products) {
  const auto [least, greatest] = std::ranges::minmax(products);
  return std::max(std::abs(int64_t{least}), std::abs(int64_t{greatest}));
}

int32_t magnitude(const FixedMatrix::Term& term, int level) {
  return level * term.whole + ((level * term.fraction) >> 16);
}

/// The term whose magnitudes are nowhere too small and exceed those of the table as little as they may.
FixedMatrix::Term covering_term(const Products& products) {
  FixedMatrix::Term term{.whole = 0, .fraction = 0, .negative = products[255] < 0};
  term.whole = static_cast<uint16_t>(std::abs(products[255]) / 255);
  int32_t fraction = 0;
  for (int level = 1; level < 256; ++level) {
    const int32_t rest = std::clamp(std::abs(products[level]) - level * term.whole, 0, level);
    fraction = std::max(fraction, ((rest << 16) + level - 1) / level);
  }
  term.fraction = static_cast<uint16_t>(std::min(fraction, 0xFFFF));
  return term;
}

bool add_term(const Products& products, int column, FixedMatrix::Row& row) {
  const FixedMatrix::Term term = covering_term(products);
  row.terms[column] = term;
  for (int level = 0; level < 256; ++level) {
    const int32_t wanted = term.negative ? -products[level] : products[level];
    const int32_t excess = magnitude(term, level) - wanted;
    if (excess == 0) continue;
    if (excess != 1 || row.exception_count == FixedMatrix::kMaxExceptions) return false;
    row.exceptions[row.exception_count++] = {static_cast<uint8_t>(column), static_cast<uint8_t>(level)};
  }
  return true;
}

bool is_plain(const FixedMatrix::Term& term, bool on_diagonal) {
  const bool zero = term.whole == 0 && term.fraction == 0;
  if (on_diagonal) return zero || (!term.negative && term.whole <= 1);
  return zero || (term.negative && term.whole == 0);
}

}  // namespace

bool build_fixed_matrix(const MatrixTable& table, bool blue_first, FixedMatrix& matrix) {
  matrix.plain = true;
  for (int i = 0; i < 3; ++i) {
    FixedMatrix::Row& row = matrix.rows[i];
    row.exception_count = 0;
    int64_t reach = 0;
    for (int j = 0; j < 3; ++j) {
      // Turning the order of both rows and columns round turns the row-major order round.
      const Products& products = table[blue_first ? 8 - (3 * i + j) : 3 * i + j];
      reach += greatest_magnitude(products);
      if (reach > std::numeric_limits<int16_t>::max()) return false;
      if (!add_term(products, j, row)) return false;
      matrix.plain = matrix.plain && is_plain(row.terms[j], i == j);
    }
  }
  return true;
}

}  // namespace kxcam
