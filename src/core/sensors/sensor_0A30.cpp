// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_context.h"
#include "core/sensors/microsecond_shutter.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0A30, 0x0A3B, 0x0B10, 0x0B1B};

constexpr uint32_t kFrameOverhead = 33;
constexpr double kReadoutTimePerPixel = 0.003515625;
constexpr double kReadoutOverhead = 80.0;

/// In readout mode 3 the frame follows the exposure, in the others the picture's size.
bool frame_follows_exposure(const CameraContext& camera) {
  return camera.parameter.resolution_mode == 3;
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  const bool written = write_value<kMicrosecondExposure>(camera, lines);
  if (!frame_follows_exposure(camera)) return true;
  const auto delay = static_cast<uint32_t>(camera.parameter.delay);
  sccb_write(camera, kMicrosecondFrame, static_cast<uint32_t>(lines) + delay + kFrameOverhead);
  return written;
}

void write_delay(CameraContext& camera, int32_t lines) {
  if (frame_follows_exposure(camera)) return;
  const FrameGeometry geometry = camera.stream.geometry;
  const int32_t pixels = geometry.frame_width / 8 * 8 * geometry.frame_height;
  const auto readout = static_cast<uint32_t>(pixels * kReadoutTimePerPixel + kReadoutOverhead);
  sccb_write(camera, kMicrosecondFrame, readout + static_cast<uint32_t>(lines));
}

}  // namespace

extern const SensorFamily sensor_0A30{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
    .line_scan = true,
    .line_timing = microsecond_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_microsecond_gain>,
    .write_loop_exposure = write_value<kMicrosecondExposure>,
    .write_loop_gain = write_microsecond_gain,
    .write_delay = write_delay,
    .switch_trigger = switch_microsecond_trigger,
};

}  // namespace kxcam
