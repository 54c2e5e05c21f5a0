// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/registers.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0030, 0x003B};

enum SensorRegister : uint32_t {
  kHorizontalBlanking = 0x05,
  kVerticalBlanking = 0x06,
  kChipControl = 0x07,
  kShutterWidth = 0x0B,
  kStrobeControl = 0x1B,
  kAnalogueGain = 0x35,
  kAutoControl = 0xAF,
};
constexpr uint32_t kSnapshot = 0x10;
constexpr uint32_t kStrobeOffBit = 0x1;  ///< the enable is inverted
constexpr uint32_t kStrobePolarity = 0x2;
constexpr uint32_t kLeastBlanking = 45;

std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize /*size*/) {
  const std::optional<uint32_t> blanking = sccb_read(camera, kHorizontalBlanking);
  if (!blanking) return std::nullopt;
  return static_cast<int32_t>(*blanking);
}

/// Bridges came with faster sensor clocks over time.
double pixel_clock_mhz(const CameraContext& camera) {
  const int32_t version = camera.device.firmware_version;
  double high_speed_link = 24;
  if (version > 0x4606) high_speed_link = 27;
  if ((version & 0xFF00) == 0x4800) high_speed_link = 48;
  return by_link(camera, 54, high_speed_link);
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, pixel_clock_mhz(camera), line_length);
}

bool write_shutter(CameraContext& camera, int32_t lines) {
  return sccb_write(camera, kShutterWidth, static_cast<uint32_t>(lines) + 1);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const int32_t code = gain < 32 ? std::max(gain, 16) : (gain - 32) / 7 + 32;
  sccb_write(camera, kAnalogueGain, static_cast<uint32_t>(code));
  return true;
}

/// The sensor's own loops must not fight the library's.
void stop_sensor_loops(CameraContext& camera) {
  sccb_write(camera, kAutoControl, 0);
}

void write_delay(CameraContext& camera, int32_t lines) {
  sccb_write(camera, kVerticalBlanking, static_cast<uint32_t>(lines) + kLeastBlanking);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  if (triggered) return switch_mode_bits(camera, kChipControl, kSnapshot, true);
  const std::optional<uint32_t> control = read_mode_bits(camera, kChipControl);
  if (!control) return false;
  if ((*control & kSnapshot) != 0) sccb_write(camera, kChipControl, *control & ~kSnapshot);
  return true;
}

bool switch_strobe(CameraContext& camera, bool on) {
  return switch_mode_bits(camera, kStrobeControl, kStrobeOffBit, !on);
}

bool switch_strobe_polarity(CameraContext& camera, bool active_high) {
  return switch_polarity_bit(camera, kStrobeControl, kStrobePolarity, active_high);
}

constexpr SensorFamily kFamilies[] = {{
    .mids = kMids,
    .isp_registers = false,
    .strobe_line = true,
    .trigger_wait_ms = 1,
    .extra_line_width = extra_line_width,
    .line_timing = line_timing,
    .write_exposure = regardless<write_shutter>,
    .write_gain = write_gain,
    .write_loop_exposure = write_shutter,
    .write_loop_gain = write_value<kAnalogueGain>,
    .prepare_auto_gain = stop_sensor_loops,
    .write_delay = write_delay,
    .switch_trigger = switch_trigger,
    .switch_strobe = switch_strobe,
    .switch_strobe_polarity = switch_strobe_polarity,
}};

}  // namespace

extern const SensorGeneration sensors_0030 = kFamilies;

}  // namespace kxcam
