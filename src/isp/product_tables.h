// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace kxcam {

/// Products of every byte value with one coefficient of the conversion from RGB to luma and colour
/// differences.
using ProductTable = std::array<int32_t, 256>;

/// Entry i is trunc(i x coefficient), but entry 255 is 0: a saturated component counts as black in
/// the white balance.
constexpr ProductTable product_table(double coefficient) {
  ProductTable table{};
  for (int i = 0; i < 255; ++i) table[i] = static_cast<int32_t>(i * coefficient);
  return table;
}

inline constexpr ProductTable M_299 = product_table(0.299);
inline constexpr ProductTable M_587 = product_table(0.587);
inline constexpr ProductTable M_114 = product_table(0.114);
inline constexpr ProductTable M_169 = product_table(0.169);
inline constexpr ProductTable M_331 = product_table(0.331);
inline constexpr ProductTable M_419 = product_table(0.419);
inline constexpr ProductTable M_081 = product_table(0.081);

}  // namespace kxcam
