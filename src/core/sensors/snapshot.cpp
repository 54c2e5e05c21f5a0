// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/registers.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

// Rolling shutters with a snapshot mode: register 0x1E holds it, and the strobe.

namespace kxcam {

namespace {

enum SensorRegister : uint32_t {
  kHorizontalBlanking = 0x05,
  kVerticalBlanking = 0x06,
  kShutterWidth = 0x09,
  kReadOptions = 0x0A,
  kRestart = 0x0B,
  kSoftReset = 0x0D,
  kReadMode = 0x1E,
  kGlobalGain = 0x35,
};
/// Bits of kReadMode.
enum ReadMode : uint32_t {
  kNoShutter = 0x1,
  kStrobe = 0x10,
  kStrobePolarity = 0x20,
  kSnapshot = 0x100,
  kBothStrobes = 0x600,
};

/// Extra vertical blanking on top of the least that these sensors need.
void write_delay(CameraContext& camera, int32_t lines) {
  constexpr int32_t kLeastBlanking = 45;
  constexpr int32_t kMostExtraBlanking = 700;
  sccb_write(camera, kVerticalBlanking,
             static_cast<uint32_t>(std::min(lines, kMostExtraBlanking) + kLeastBlanking));
}

bool switch_trigger(CameraContext& camera, bool triggered) {
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

template <uint32_t kEnableBits>
bool switch_strobe(CameraContext& camera, bool on) {
  return switch_mode_bits(camera, kReadMode, kEnableBits, on);
}

bool switch_strobe_polarity(CameraContext& camera, bool active_high) {
  return switch_polarity_bit(camera, kReadMode, kStrobePolarity, active_high);
}

/// An analogue stage, a doubler and a digital multiplier in eighths.
bool write_doubler_gain(CameraContext& camera, int32_t gain) {
  auto code = static_cast<uint32_t>(gain);
  if (gain > 127) {
    code = static_cast<uint32_t>((gain / 127.0 - 1.0) * 8.0) << 8 | 127;
  } else if (gain > 63) {
    code = code >> 1 | 64;
  }
  return sccb_write(camera, kGlobalGain, code);
}

namespace sensor_0130 {

constexpr uint32_t kMids[] = {0x0130, 0x013B};

std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize /*size*/) {
  constexpr int32_t kFixedBlanking = 225;
  const std::optional<uint32_t> blanking = sccb_read(camera, kHorizontalBlanking);
  if (!blanking) return std::nullopt;
  return static_cast<int32_t>(*blanking) + kFixedBlanking;
}

bool write_gain(CameraContext& camera, int32_t gain) {
  int32_t code = gain >> 1;
  if (gain > 64) code = ((gain - 64) >> 2) + 80;
  if (gain > 127) code = ((gain - 128) >> 4) + 96;
  return write_value<kGlobalGain>(camera, code);
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
    .extra_line_width = extra_line_width,
    .line_timing = high_speed_line,
    .write_exposure = regardless<write_value<kShutterWidth>>,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_value<kShutterWidth>,
    .write_loop_gain = write_value<kGlobalGain>,
    .write_delay = write_delay,
    .switch_trigger = switch_trigger,
    .switch_strobe = switch_strobe<kBothStrobes>,
    .switch_strobe_polarity = switch_strobe_polarity,
};

}  // namespace sensor_0130

namespace sensor_0300 {

constexpr uint32_t kMids[] = {0x0300};

void wake_sensor(libusb_device_handle* handle, int32_t firmware_version) {
  constexpr int32_t kFirmwareThatSetsReadOptions = 0x4608;
  sccb_write_raw(handle, kSoftReset, 1);
  sccb_write_raw(handle, kSoftReset, 0);
  if (firmware_version < kFirmwareThatSetsReadOptions) {
    sccb_write_raw(handle, kReadOptions, 0x8000);
    long no_data = 0;
    EP0Write(handle, bridge::kPrepareSensor0300, 0, 0, nullptr, no_data);
  }
}

std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize size) {
  const std::optional<uint32_t> blanking = sccb_read(camera, kHorizontalBlanking);
  if (!blanking) return std::nullopt;
  const bool long_lines = camera.parameter.resolution_mode == 2 && size.height < 769;
  return static_cast<int32_t>(*blanking) + (long_lines ? 695 : 369);
}

/// The outcome is whether the sensor could be asked for its mode.
bool write_exposure(CameraContext& camera, int32_t lines) {
  const std::optional<uint32_t> mode = sccb_read(camera, kReadMode);
  if (mode && (*mode & kNoShutter) != 0) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  write_value<kShutterWidth>(camera, lines);
  return mode.has_value();
}

constexpr SensorFamily family{
    .mids = kMids,
    .wake_sensor = wake_sensor,
    .extra_line_width = extra_line_width,
    .line_timing = high_speed_line,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_doubler_gain>,
    .write_loop_exposure = write_value<kShutterWidth>,
    .write_loop_gain = write_value<kGlobalGain>,
    .write_delay = write_delay,
    .switch_trigger = switch_trigger,
    .switch_strobe = switch_strobe<kBothStrobes>,
    .switch_strobe_polarity = switch_strobe_polarity,
};

}  // namespace sensor_0300

namespace sensor_0500 {

constexpr uint32_t kMids[] = {0x0500, 0x050B};

/// Readout mode 2 skips pixels: small pictures take lines that are mostly blanking.
std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize size) {
  if (camera.parameter.resolution_mode != 2 || size.height > 960) return 894;
  return size.height <= 480 ? 2888 : 1506;
}

constexpr SensorFamily family{
    .mids = kMids,
    .isp_registers = false,
    .strobe_line = true,
    .extra_line_width = extra_line_width,
    .line_timing = bridge_clocked_line<96, 48>,
    .write_exposure = regardless<write_value<kShutterWidth>>,
    .write_gain = regardless<write_doubler_gain>,
    .write_loop_exposure = write_value<kShutterWidth>,
    .write_loop_gain = write_value<kGlobalGain>,
    .write_delay = write_delay,
    .switch_trigger = switch_trigger,
    .switch_strobe = switch_strobe<kStrobe>,
    .switch_strobe_polarity = switch_strobe_polarity,
};

}  // namespace sensor_0500

constexpr SensorFamily kFamilies[] = {sensor_0130::family, sensor_0300::family, sensor_0500::family};

}  // namespace

extern const SensorGeneration snapshot_sensors = kFamilies;

}  // namespace kxcam
