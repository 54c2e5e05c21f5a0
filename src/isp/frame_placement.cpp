// SPDX-License-Identifier: Apache-2.0
#include "isp/frame_placement.h"

namespace kxcam {

FramePlacement place_frame(const SensorSize& sensor, const CameraParameter& parameter, int32_t width,
                           int32_t height) {
  if (width == sensor.width && height == sensor.height) return {};
  if (parameter.enable_roi != 0) {
    return {Readout::kWindow, parameter.roi_offset_x, parameter.roi_offset_y};
  }
  const int64_t twice_width = int64_t{2} * width;
  const int64_t twice_height = int64_t{2} * height;
  if (parameter.resolution_mode != 0 && twice_width < sensor.width && twice_height < sensor.height) {
    return {Readout::kBinned, static_cast<int32_t>((sensor.width - twice_width) >> 1),
            static_cast<int32_t>((sensor.height - twice_height) >> 1)};
  }
  return {Readout::kWindow, (sensor.width - width) >> 1, (sensor.height - height) >> 1};
}

}  // namespace kxcam
