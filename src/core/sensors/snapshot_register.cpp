// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/snapshot_register.h"

#include <algorithm>

#include "core/sensors/mode_bits.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

enum SensorRegister : uint32_t {
  kVerticalBlanking = 0x06,
  kRestart = 0x0B,
  kReadMode = 0x1E,
};
constexpr uint32_t kStrobePolarity = 0x20;
constexpr uint32_t kSnapshot = 0x100;
constexpr uint32_t kStrobes = 0x600;
constexpr int32_t kLeastBlanking = 45;
constexpr int32_t kMostExtraBlanking = 700;

}  // namespace

bool switch_snapshot_bit(CameraContext& camera, bool triggered) {
  if (triggered) return switch_mode_bits(camera, kReadMode, kSnapshot, true);
  const auto mode = read_mode_bits(camera, kReadMode);
  if (!mode) return false;
  if ((*mode & kSnapshot) != 0) {
    // The sensor still waits for a trigger that will not come, until its frame is restarted.
    sccb_write(camera, kReadMode, *mode & ~kSnapshot);
    sccb_write(camera, kRestart, 1);
  }
  return true;
}

bool switch_snapshot_strobe_polarity(CameraContext& camera, bool active_high) {
  return switch_polarity_bit(camera, kReadMode, kStrobePolarity, active_high);
}

bool switch_double_strobe_bits(CameraContext& camera, bool on) {
  return switch_mode_bits(camera, kReadMode, kStrobes, on);
}

void write_limited_blanking(CameraContext& camera, int32_t lines) {
  sccb_write(camera, kVerticalBlanking,
             static_cast<uint32_t>(std::min(lines, kMostExtraBlanking) + kLeastBlanking));
}

}  // namespace kxcam
