// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/registry/camera_context.h"
#include "core/sensors/bridge_shutter.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0600, 0x060B, 0x0610, 0x061B, 0x0620, 0x062B,
                              0x0630, 0x063B, 0x0650, 0x065B, 0x0710, 0x071B};
constexpr uint32_t kWideMids[] = {0x0680, 0x068B};

enum SensorRegister : uint32_t {
  kAnalogueGain = 0x3204,
  kConversionGain = 0x3205,
};
constexpr int32_t kHighestCodeAtHighConversion = 224;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, 0.01, 1000, 833);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const int32_t code = gain - 1;
  const bool high_conversion = camera.parameter.advanced_gain != 0;
  write_value<kAnalogueGain>(camera, high_conversion ? std::min(code, kHighestCodeAtHighConversion) : code);
  return true;
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return write_value<kAnalogueGain>(camera, gain - 1);
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  sccb_write(camera, kConversionGain, level != 0 ? 1 : 0);
}

constexpr SensorFamily recipe(std::span<const uint32_t> mids, RoiAlignment alignment) {
  return {
      .mids = mids,
      .roi_alignment = alignment,
      .line_timing = line_timing,
      .write_exposure = set_bridge_shutter,
      .write_gain = write_gain,
      .write_advanced_gain = write_advanced_gain,
      .write_loop_exposure = write_bridge_shutter,
      .write_loop_gain = write_loop_gain,
      .switch_trigger = switch_bridge_trigger,
  };
}

}  // namespace

extern const SensorFamily sensor_0600 = recipe(kMids, {});
extern const SensorFamily sensor_0680 = recipe(kWideMids, {.x_and_width = 8});

}  // namespace kxcam
