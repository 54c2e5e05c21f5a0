// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/line_length_register.h"

#include "usb/control_channel.h"

namespace kxcam {

namespace {

constexpr uint32_t kLineLength = 0x300C;

std::optional<int32_t> blanking(CameraContext& camera, ReadoutSize size, int shift) {
  const std::optional<uint32_t> length = sccb_read(camera, kLineLength);
  if (!length) return std::nullopt;
  return static_cast<int32_t>(*length >> shift) - size.width;
}

}  // namespace

std::optional<int32_t> blanking_from_line_length(CameraContext& camera, ReadoutSize size) {
  return blanking(camera, size, 0);
}

std::optional<int32_t> blanking_from_half_clocks(CameraContext& camera, ReadoutSize size) {
  return blanking(camera, size, 1);
}

}  // namespace kxcam
