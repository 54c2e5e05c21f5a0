// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/snapshot_register.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0130, 0x013B};

enum SensorRegister : uint32_t {
  kHorizontalBlanking = 0x05,
  kShutterWidth = 0x09,
  kGlobalGain = 0x35,
};
constexpr int32_t kFixedBlanking = 225;

std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize /*size*/) {
  const std::optional<uint32_t> blanking = sccb_read(camera, kHorizontalBlanking);
  if (!blanking) return std::nullopt;
  return static_cast<int32_t>(*blanking) + kFixedBlanking;
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, by_high_speed(camera, 48, 24), line_length);
}

constexpr uint32_t gain_code(int32_t gain) {
  if (gain <= 64) return static_cast<uint32_t>(gain >> 1);
  if (gain <= 127) return static_cast<uint32_t>(((gain - 64) >> 2) + 80);
  return static_cast<uint32_t>(((gain - 128) >> 4) + 96);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  sccb_write(camera, kGlobalGain, gain_code(gain));
  return true;
}

}  // namespace

extern const SensorFamily sensor_0130{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
    .extra_line_width = extra_line_width,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterWidth>>,
    .write_gain = write_gain,
    .write_loop_exposure = write_value<kShutterWidth>,
    .write_loop_gain = write_value<kGlobalGain>,
    .write_delay = write_limited_blanking,
    .switch_trigger = switch_snapshot_bit,
    .switch_strobe = switch_double_strobe_bits,
    .switch_strobe_polarity = switch_snapshot_strobe_polarity,
};

}  // namespace kxcam
