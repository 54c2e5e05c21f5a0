// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/doubler_gain.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/snapshot_register.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0300};

enum SensorRegister : uint32_t {
  kHorizontalBlanking = 0x05,
  kShutterWidth = 0x09,
  kReadOptions = 0x0A,
  kSoftReset = 0x0D,
  kReadMode = 0x1E,
  kGlobalGain = 0x35,
};
constexpr uint32_t kNoShutter = 0x1;  ///< bit of kReadMode
constexpr int32_t kFirmwareThatSetsReadOptions = 0x4608;

void wake_sensor(libusb_device_handle* handle, int32_t firmware_version) {
  sccb_write_raw(handle, kSoftReset, 1);
  sccb_write_raw(handle, kSoftReset, 0);
  if (firmware_version < kFirmwareThatSetsReadOptions) {
    sccb_write_raw(handle, kReadOptions, 0x8000);
    long no_data = 0;
    EP0Write(handle, 0xA1, 0, 0, nullptr, no_data);
  }
}

std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize size) {
  const std::optional<uint32_t> blanking = sccb_read(camera, kHorizontalBlanking);
  if (!blanking) return std::nullopt;
  const bool long_lines = camera.parameter.resolution_mode == 2 && size.height < 769;
  return static_cast<int32_t>(*blanking) + (long_lines ? 695 : 369);
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, by_high_speed(camera, 48, 24), line_length);
}

/// The outcome is whether the sensor could be asked for its mode.
bool write_exposure(CameraContext& camera, int32_t lines) {
  const std::optional<uint32_t> mode = sccb_read(camera, kReadMode);
  if (mode && (*mode & kNoShutter) != 0) return fail(KXCAM_ERROR_NOT_SUPPORTED);
  write_value<kShutterWidth>(camera, lines);
  return mode.has_value();
}

bool write_gain(CameraContext& camera, int32_t gain) {
  sccb_write(camera, kGlobalGain, doubler_gain_code(gain));
  return true;
}

}  // namespace

extern const SensorFamily sensor_0300{
    .mids = kMids,
    .wake_sensor = wake_sensor,
    .extra_line_width = extra_line_width,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_loop_exposure = write_value<kShutterWidth>,
    .write_loop_gain = write_value<kGlobalGain>,
    .write_delay = write_limited_blanking,
    .switch_trigger = switch_snapshot_bit,
    .switch_strobe = switch_double_strobe_bits,
    .switch_strobe_polarity = switch_snapshot_strobe_polarity,
};

}  // namespace kxcam
