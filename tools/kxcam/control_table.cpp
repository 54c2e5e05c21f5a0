// SPDX-License-Identifier: Apache-2.0
#include "control_table.h"

#include <vector>

namespace kxcam {
namespace {

std::vector<Control> read_table() {
  std::vector<Control> table;
  for (Control control{};
       kxcam_get_control(static_cast<int>(table.size()), &control, sizeof(kxcam_control)) == 0;)
    table.push_back(control);
  return table;
}

}  // namespace

std::optional<double> Control::get(int camera) const {
  double value = 0;
  if (kxcam_get(camera, name, &value) != 0) return std::nullopt;
  return value;
}

uint32_t Control::set(int camera, double value) const {
  return kxcam_set(camera, name, value) == 0 ? 0 : 1;
}

std::span<const Control> control_table() {
  static const std::vector<Control> table = read_table();
  return table;
}

}  // namespace kxcam
