// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/doubler_gain.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/mode_bits.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/snapshot_register.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0500, 0x050B};

enum SensorRegister : uint32_t {
  kShutterWidth = 0x09,
  kReadMode = 0x1E,
  kGlobalGain = 0x35,
};
constexpr uint32_t kStrobe = 0x10;

/// Readout mode 2 skips pixels: small pictures take lines that are mostly blanking.
std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize size) {
  if (camera.parameter.resolution_mode != 2 || size.height > 960) return 894;
  return size.height <= 480 ? 2888 : 1506;
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  const double clock =
      camera.model().newer_bridge() ? by_link(camera, 96, 48) : by_high_speed(camera, 48, 24);
  return clocked_line(camera, clock, line_length);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  sccb_write(camera, kGlobalGain, doubler_gain_code(gain));
  return true;
}

bool switch_strobe(CameraContext& camera, bool on) {
  return switch_mode_bits(camera, kReadMode, kStrobe, on);
}

}  // namespace

extern const SensorFamily sensor_0500{
    .mids = kMids,
    .isp_registers = false,
    .strobe_line = true,
    .extra_line_width = extra_line_width,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterWidth>>,
    .write_gain = write_gain,
    .write_loop_exposure = write_value<kShutterWidth>,
    .write_loop_gain = write_value<kGlobalGain>,
    .write_delay = write_limited_blanking,
    .switch_trigger = switch_snapshot_bit,
    .switch_strobe = switch_strobe,
    .switch_strobe_polarity = switch_snapshot_strobe_polarity,
};

}  // namespace kxcam
