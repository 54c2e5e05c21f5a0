// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// Register 0x35 of the sensors with an analogue stage, a doubler and a digital multiplier in eighths: the
/// code of gains 1..255.
constexpr uint32_t doubler_gain_code(int32_t gain) {
  if (gain <= 63) return static_cast<uint32_t>(gain);
  if (gain <= 127) return static_cast<uint32_t>(gain >> 1 | 64);
  const auto eighths = static_cast<uint32_t>((gain / 127.0 - 1.0) * 8.0);
  return eighths << 8 | 127;
}

}  // namespace kxcam
