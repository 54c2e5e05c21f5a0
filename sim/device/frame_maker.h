// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "device/camera_options.h"
#include "device/sensors/sensor_model.h"
#include "scene/scene.h"
#include "scene/sensor.h"

namespace kxsim {

/// A frame to be made: its number since power-up, counted from 0, and the part of the sensor it shows.
struct FrameRequest {
  uint64_t number = 0;
  Readout readout;
  std::optional<ShutterState> shutter = {};  ///< what the registers say, if the sensor has such registers
};

/// Fills the bytes of a frame as they go over the wire.
using FrameSource = std::function<void(const FrameRequest&, std::span<uint8_t>)>;

/// Makes the pixels: from the scene through the sensor, or from a source of the owner's. Where there is a
/// lighting, the registers decide how bright they become, and set_exposure() where there is none. The setters
/// are thread-safe, make() is for one thread.
class FrameMaker {
 public:
  explicit FrameMaker(const CameraOptions& options);

  /// Empty = the sensor.
  void set_source(FrameSource source);
  void set_scene(std::shared_ptr<const Scene> scene);
  void set_exposure(const Exposure& exposure);
  void set_lighting(const std::optional<Lighting>& lighting);

  void make(const FrameRequest& request, std::span<uint8_t> out);

 private:
  Exposure exposure_for(const FrameRequest& request) const;

  const SensorDescription description_;
  const double frame_rate_;

  std::mutex mutex_;  // guards the four below
  FrameSource source_;
  std::shared_ptr<const Scene> scene_;
  Exposure exposure_;
  std::optional<Lighting> lighting_;

  std::unique_ptr<Sensor> sensor_;  // built with the first frame that needs it
  std::shared_ptr<const Scene> exposed_scene_;
};

}  // namespace kxsim
