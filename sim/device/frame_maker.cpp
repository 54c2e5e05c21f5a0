// SPDX-License-Identifier: Apache-2.0
#include "device/frame_maker.h"

#include <utility>

namespace kxsim {
namespace {

SensorDescription describe(const CameraOptions& options) {
  return {.width = options.model->SENSOR_ARRAY.width,
          .height = options.model->SENSOR_ARRAY.height,
          .color_mode = static_cast<kxcam::ColorMode>(options.model->COLOR_MODE),
          .seed = options.seed,
          .noise = options.noise,
          .fixed_pattern = options.fixed_pattern,
          .dead_pixels = options.dead_pixels};
}

}  // namespace

FrameMaker::FrameMaker(const CameraOptions& options) : description_(describe(options)) {}

void FrameMaker::set_source(FrameSource source) {
  const std::lock_guard lock(mutex_);
  source_ = std::move(source);
}

void FrameMaker::set_scene(std::shared_ptr<const Scene> scene) {
  const std::lock_guard lock(mutex_);
  scene_ = std::move(scene);
}

void FrameMaker::set_exposure(const Exposure& exposure) {
  const std::lock_guard lock(mutex_);
  exposure_ = exposure;
}

void FrameMaker::make(const FrameRequest& request, std::span<uint8_t> out) {
  std::unique_lock lock(mutex_);
  if (source_) {
    const auto source = source_;
    lock.unlock();
    return source(request, out);
  }
  if (!scene_) scene_ = make_chart(static_cast<double>(description_.width) / description_.height);
  if (!sensor_) {
    sensor_ = std::make_unique<Sensor>(description_, scene_);
  } else if (exposed_scene_ != scene_) {
    sensor_->set_scene(scene_);
  }
  exposed_scene_ = scene_;
  const auto exposure = exposure_;
  lock.unlock();
  sensor_->expose(request.readout, exposure, request.number, out);
}

}  // namespace kxsim
