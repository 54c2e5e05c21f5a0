// SPDX-License-Identifier: Apache-2.0
#include <array>

#include "core/sensors/line_clock.h"
#include "core/sensors/line_length_register.h"
#include "core/sensors/mode_bits.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0200, 0x020B};

enum SensorRegister : uint32_t {
  kShutterLines = 0x3012,
  kResetRegister = 0x301A,
  kGlobalGain = 0x305E,
  kAnalogueGain = 0x3060,
};
constexpr uint32_t kStreaming = 0x4;
constexpr uint32_t kForcedStreaming = 0x104;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, by_high_speed(camera, 48, 24), line_length);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return write_value<kGlobalGain>(camera, 8 * gain);
}

/// The loop stays in the lower quarter of the setter's range.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return write_value<kGlobalGain>(camera, 2 * gain);
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  constexpr std::array<uint32_t, 5> kCodes = {11, 27, 43, 59, 75};
  constexpr uint32_t kHighest = 95;
  const auto i = static_cast<size_t>(level);
  sccb_write(camera, kAnalogueGain, i < kCodes.size() ? kCodes[i] : kHighest);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  return triggered ? switch_mode_bits(camera, kResetRegister, kStreaming, false)
                   : switch_mode_bits(camera, kResetRegister, kForcedStreaming, true);
}

}  // namespace

extern const SensorFamily sensor_0200{
    .mids = kMids,
    .extra_line_width = blanking_from_line_length,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_trigger,
};

}  // namespace kxcam
