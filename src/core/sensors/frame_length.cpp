// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/frame_length.h"

#include <algorithm>

#include "core/registry/camera_context.h"
#include "core/registry/camera_parameter.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

enum BridgeRegister : uint32_t {
  kFrameLengthLow = 0x14,
  kPresentFrameLength = 0x15,
  kFrameLengthHigh = 0x1E,
};
constexpr double kLowestFrameRate = 0.1;

}  // namespace

int64_t bridge_frame_length(CameraContext& camera, int64_t fallback) {
  const std::optional<uint32_t> present = isp_read(camera, kPresentFrameLength);
  return present ? int64_t{*present} : fallback;
}

int64_t wanted_frame_length(CameraContext& camera, int64_t free_running, double lines_per_second) {
  CameraParameter& parameter = camera.parameter;
  if ((parameter.isp_flags & kFrameRateFree) != 0) return free_running + parameter.delay;
  const double frame_rate = std::max<double>(parameter.frame_rate, kLowestFrameRate);
  parameter.frame_rate = frame_rate;
  return static_cast<int64_t>(lines_per_second / frame_rate);
}

void write_frame_length(CameraContext& camera, int64_t lines) {
  isp_write(camera, kFrameLengthLow, static_cast<uint32_t>(lines));
  isp_write(camera, kFrameLengthHigh, static_cast<uint32_t>(lines >> 16));
}

void write_blanking(CameraContext& camera, uint32_t reg, uint32_t blanking) {
  const FrameGeometry geometry = camera.stream.geometry;
  sccb_write(camera, reg, static_cast<uint32_t>(geometry.frame_height) + blanking);
}

}  // namespace kxcam
