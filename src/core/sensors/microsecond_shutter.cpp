// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/microsecond_shutter.h"

#include "core/sensors/line_clock.h"
#include "core/sensors/mode_bits.h"
#include "core/sensors/trigger_request.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

enum SensorRegister : uint32_t {
  kControl = 0xC0,
  kGain = 0xCD,
};
constexpr uint32_t kTriggered = 0x10;

}  // namespace

std::optional<LineTiming> microsecond_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, 0.001, 10000, 8333);
}

bool write_microsecond_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGain, static_cast<uint32_t>(4 * gain + 128));
}

bool switch_microsecond_trigger(CameraContext& camera, bool triggered) {
  return switch_mode_bits(camera, kControl, kTriggered, triggered) && request_trigger_mode(camera, triggered);
}

}  // namespace kxcam
