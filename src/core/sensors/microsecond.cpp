// SPDX-License-Identifier: Apache-2.0
#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"

// Global shutters that count exposure and frame in microseconds, as "lines".

namespace kxcam {

namespace {

constexpr uint32_t kSmallMids[] = {0x0A30, 0x0A3B, 0x0B10, 0x0B1B};
constexpr uint32_t kLargeMids[] = {0x0B20, 0x0B2B, 0x0B50, 0x0B5B};

enum SensorRegister : uint32_t {
  kControl = 0xC0,
  kFrameTime = 0xC8,
  kExposureTime = 0xC9,
  kGain = 0xCD,
};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return fixed_line(camera, 0.001, 10000, 8333);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return write_value<kGain>(camera, 4 * gain + 128);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  constexpr uint32_t kTriggered = 0x10;
  return switch_mode_bits(camera, kControl, kTriggered, triggered) && request_trigger_mode(camera, triggered);
}

/// In readout mode 3 the frame follows the exposure, in the others the picture's size.
bool frame_follows_exposure(const CameraContext& camera) {
  return camera.parameter.resolution_mode == 3;
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  constexpr uint32_t kFrameOverhead = 33;
  const bool written = write_value<kExposureTime>(camera, lines);
  if (!frame_follows_exposure(camera)) return true;
  const auto delay = static_cast<uint32_t>(camera.parameter.delay);
  sccb_write(camera, kFrameTime, static_cast<uint32_t>(lines) + delay + kFrameOverhead);
  return written;
}

void write_delay(CameraContext& camera, int32_t lines) {
  constexpr double kReadoutTimePerPixel = 0.003515625;
  constexpr double kReadoutOverhead = 80.0;
  if (frame_follows_exposure(camera)) return;
  const FrameGeometry geometry = camera.stream.geometry;
  const int32_t pixels = geometry.frame_width / 8 * 8 * geometry.frame_height;
  const auto readout = static_cast<uint32_t>(pixels * kReadoutTimePerPixel + kReadoutOverhead);
  sccb_write(camera, kFrameTime, readout + static_cast<uint32_t>(lines));
}

constexpr SensorFamily kFamilies[] = {
    {
        .mids = kSmallMids,
        .roi_alignment = {.x_and_width = 16},
        .line_scan = true,
        .mono_keeps_fixed_pattern = true,
        .line_timing = line_timing,
        .write_exposure = write_exposure,
        .write_gain = regardless<write_gain>,
        .write_loop_exposure = write_value<kExposureTime>,
        .write_loop_gain = write_gain,
        .write_delay = write_delay,
        .switch_trigger = switch_trigger,
    },
    {
        .mids = kLargeMids,
        .roi_alignment = {.x_and_width = 32},
        .line_scan = true,
        .line_timing = line_timing,
        .write_exposure = regardless<write_value<kExposureTime>>,
        .write_gain = regardless<write_gain>,
        .write_loop_exposure = write_value<kExposureTime>,
        .write_loop_gain = write_gain,
        .switch_trigger = switch_trigger,
    },
};

}  // namespace

extern const SensorGeneration microsecond_sensors = kFamilies;

}  // namespace kxcam
