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

/// Register 0x305E of the sensors with three column-gain ranges, the last of which ends at 7268.
constexpr uint32_t column_gain_code(int32_t gain) {
  constexpr int32_t kLast = 7268;
  if (gain < 16) return static_cast<uint32_t>(4 * gain + 4160);
  if (gain < 32) return static_cast<uint32_t>(4 * gain + 6144);
  const int32_t code = 2 * gain + 7168;
  return static_cast<uint32_t>(gain < 64 && code < kLast ? code : kLast);
}

/// The same register as the exposure loop drives it: beyond the range that the setter keeps to.
constexpr uint32_t loop_column_gain_code(int32_t gain) {
  if (gain <= 15) return static_cast<uint32_t>(4 * gain + 4160);
  if (gain <= 31) return static_cast<uint32_t>(4 * gain + 6144);
  if (gain <= 63) return static_cast<uint32_t>(2 * gain + 7168);
  if (gain <= 127) return static_cast<uint32_t>(gain + 7296);
  return static_cast<uint32_t>(((gain - 128) >> 1) + 7616);
}

}  // namespace kxcam
