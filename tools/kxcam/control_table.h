// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace kxcam {

/// One setting of a camera that can be read and changed by name.
struct Control {
  const char* name;
  const char* unit;         ///< "" where it is a plain number
  const char* group;        ///< what it acts on: "exposure", "geometry" and so on
  const char* description;  ///< one line
  double minimum;
  double maximum;
  double step;  ///< what a camera's memory keeps is a multiple of it; 1 and more: whole numbers only; 0: any
                ///< number
  /// Value in a camera fresh from the factory; not a number where the control is only another view of one
  /// further on.
  double neutral;
  const char* const* choices;  ///< words for the values 0, 1 and so on, and a null pointer; null: a number

  /// Value of the camera at that index; nothing when it does not offer the control.
  std::optional<double> (*get)(int camera);
  /// Status of the library.
  uint32_t (*set)(int camera, double value);

  constexpr bool whole() const { return step >= 1; }
  constexpr bool is_view() const { return neutral != neutral; }
};

/// All of them. One that decides what another means comes before it: settings are stored and written in this
/// order.
std::span<const Control> control_table();

}  // namespace kxcam
