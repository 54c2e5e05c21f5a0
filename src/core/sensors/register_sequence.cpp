// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/register_sequence.h"

namespace kxcam {

bool sccb_write_all(CameraContext& camera, std::initializer_list<RegisterWrite> writes) {
  bool all_written = true;
  for (const RegisterWrite& write : writes) all_written &= sccb_write(camera, write.reg, write.value);
  return all_written;
}

std::optional<int32_t> sccb_read_pair(CameraContext& camera, uint32_t high_reg, uint32_t low_reg) {
  const std::optional<uint32_t> high = sccb_read(camera, high_reg);
  const std::optional<uint32_t> low = sccb_read(camera, low_reg);
  if (!high || !low) return std::nullopt;
  return static_cast<int32_t>(*high << 8 | *low);
}

}  // namespace kxcam
