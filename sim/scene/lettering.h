// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kxsim {

/// Letters are drawn on a grid of dots: five dots wide and seven high, one dot apart.
inline constexpr int kLetterPitch = 6;
inline constexpr int kLetterHeight = 7;

/// Whether dot (`column`, `row`) of the line `text` is inked. Knows capitals, digits, space, '-' and
/// '/'; other characters are blank, and so is what lies outside the text.
bool letter_dot(std::string_view text, int column, int row);

}  // namespace kxsim
