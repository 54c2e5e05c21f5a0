// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/column_gain.h"

#include "usb/control_channel.h"

namespace kxcam {

namespace {

constexpr uint32_t kGlobalGain = 0x305E;

/// Three ranges, the last of which ends at 7268.
constexpr uint32_t column_gain_code(int32_t gain) {
  constexpr int32_t kLast = 7268;
  if (gain < 16) return static_cast<uint32_t>(4 * gain + 4160);
  if (gain < 32) return static_cast<uint32_t>(4 * gain + 6144);
  const int32_t code = 2 * gain + 7168;
  return static_cast<uint32_t>(gain < 64 && code < kLast ? code : kLast);
}

/// The exposure loop goes beyond the range that the setter keeps to.
constexpr uint32_t loop_column_gain_code(int32_t gain) {
  if (gain <= 15) return static_cast<uint32_t>(4 * gain + 4160);
  if (gain <= 31) return static_cast<uint32_t>(4 * gain + 6144);
  if (gain <= 63) return static_cast<uint32_t>(2 * gain + 7168);
  if (gain <= 127) return static_cast<uint32_t>(gain + 7296);
  return static_cast<uint32_t>(((gain - 128) >> 1) + 7616);
}

}  // namespace

bool write_column_gain(CameraContext& camera, int32_t gain) {
  sccb_write(camera, kGlobalGain, column_gain_code(gain));
  return true;
}

bool write_loop_column_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGlobalGain, loop_column_gain_code(gain));
}

}  // namespace kxcam
