// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/mode_bits.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0120, 0x012B};

enum SensorRegister : uint32_t {
  kShutterLines = 0x3012,
  kResetRegister = 0x301A,
  kFlash = 0x3046,
  kGlobalGain = 0x305E,
  kDigitalTest = 0x30B0,
};
constexpr uint32_t kStreaming = 0x1DC;
constexpr uint32_t kWaiting = 0x1D8;
constexpr uint32_t kFlashPolarity = 0x80;
constexpr uint32_t kFlashEnable = 0x100;
constexpr uint32_t kColumnGainMask = 0x30;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  const double clock =
      camera.model().newer_bridge() ? by_link(camera, 100, 50) : by_high_speed(camera, 48, 24);
  return clocked_line(camera, clock, line_length);
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  const std::optional<uint32_t> present = sccb_read(camera, kDigitalTest);
  if (!present) return;
  const auto column_gain = static_cast<uint32_t>(std::min(level, 3)) << 4;
  sccb_write(camera, kDigitalTest, (*present & ~kColumnGainMask) | column_gain);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  sccb_write(camera, kResetRegister, triggered ? kWaiting : kStreaming);
  return true;
}

bool switch_strobe(CameraContext& camera, bool on) {
  return switch_mode_bits(camera, kFlash, kFlashEnable, on);
}

bool switch_strobe_polarity(CameraContext& camera, bool active_high) {
  return switch_polarity_bit(camera, kFlash, kFlashPolarity, active_high);
}

}  // namespace

extern const SensorFamily sensor_0120{
    .mids = kMids,
    .isp_registers = false,
    .strobe_line = true,
    .extra_line_width = blanking_from_line_length,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_value<kGlobalGain>>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_value<kGlobalGain>,
    .switch_trigger = switch_trigger,
    .switch_strobe = switch_strobe,
    .switch_strobe_polarity = switch_strobe_polarity,
};

}  // namespace kxcam
