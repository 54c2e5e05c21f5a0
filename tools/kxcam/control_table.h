// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include <kxcam/extra.h>

namespace kxcam {

/// One setting of a camera that can be read and changed by name.
struct Control : kxcam_control {
  /// Value of the camera at that index; nothing when it does not offer the control.
  std::optional<double> get(int camera) const;
  /// Status of the library.
  uint32_t set(int camera, double value) const;

  bool whole() const { return (flags & KXCAM_CONTROL_WHOLE) != 0; }
  bool is_view() const { return (flags & KXCAM_CONTROL_VIEW) != 0; }
};

/// All that the library has. One that decides what another means comes before it: settings are stored and
/// written in this order.
std::span<const Control> control_table();

}  // namespace kxcam
