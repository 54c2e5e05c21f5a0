// SPDX-License-Identifier: Apache-2.0
#include "device/frame_maker.h"

#include <utility>
#include <vector>

namespace kxsim {
namespace {

SensorDescription describe(const CameraOptions& options) {
  return {.width = options.model->width,
          .height = options.model->height,
          .color_mode = options.model->color,
          .seed = options.seed,
          .noise = options.noise,
          .fixed_pattern = options.fixed_pattern,
          .dead_pixels = options.dead_pixels};
}

/// The lamp's light on each row. Frames begin at their rate, or without one as if at an odd rate, so that no
/// two see the lamp at the same moment.
std::vector<float> light_of_rows(const Lamp& lamp, const FrameRequest& request, double frame_rate) {
  constexpr double kOddFrameMs = 7.31;
  const double frame_ms = frame_rate > 0 ? 1000 / frame_rate : kOddFrameMs;
  std::vector<float> rows(static_cast<size_t>(request.readout.height));
  double start_ms = static_cast<double>(request.number) * frame_ms;
  for (float& row : rows) {
    row = static_cast<float>(mean_light(lamp, start_ms, request.shutter->exposure_ms));
    if (request.shutter->rolling) start_ms += request.shutter->line_ms;
  }
  return rows;
}

}  // namespace

FrameMaker::FrameMaker(const CameraOptions& options)
    : description_(describe(options)), frame_rate_(options.frame_rate), lighting_(options.lighting) {}

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

void FrameMaker::set_lighting(const std::optional<Lighting>& lighting) {
  const std::lock_guard lock(mutex_);
  lighting_ = lighting;
}

Exposure FrameMaker::exposure_for(const FrameRequest& request) const {
  if (!lighting_ || !request.shutter) return exposure_;
  Exposure exposure{
      .exposure = request.shutter->exposure_ms / Lighting::kNominalMs * lighting_->level_at(request.number),
      .gain = request.shutter->gain};
  if (lighting_->lamp.ripple > 0) {
    exposure.row_light = light_of_rows(lighting_->lamp, request, frame_rate_);
  }
  return exposure;
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
  const Exposure exposure = exposure_for(request);
  lock.unlock();
  sensor_->expose(request.readout, exposure, request.number, out);
}

}  // namespace kxsim
