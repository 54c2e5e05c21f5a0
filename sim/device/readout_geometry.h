// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>

#include "device/camera_options.h"
#include "scene/sensor.h"

namespace kxsim {

/// Which part of the sensor the camera reads out, and what its presets are.
class ReadoutGeometry {
 public:
  /// 0 = full sensor, 1 = half size by skipping, 2 = centred window of at most 640 x 480.
  static constexpr int kPresets = 3;

  explicit ReadoutGeometry(const CameraOptions& options);

  std::optional<Readout> preset(int number) const;
  bool select_preset(int number);
  /// False, and nothing changes, when the window is empty or leaves the sensor.
  bool select_window(int x, int y, int width, int height);

  const Readout& current() const { return current_; }
  /// Bytes on the wire.
  size_t frame_bytes() const {
    return static_cast<size_t>(current_.width) * current_.height * (half_frames_ ? 1 : bytes_per_pixel_);
  }
  int bytes_per_pixel() const { return bytes_per_pixel_; }

 private:
  Readout sensor_;  ///< all of it
  int bytes_per_pixel_;
  bool half_frames_;
  Readout current_;
};

}  // namespace kxsim
