// SPDX-License-Identifier: Apache-2.0
#include "exposure_run.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "kxcam/kxcam.h"

namespace kxcam {

namespace {

constexpr int kCamera = 0;

void must(uint32_t result, const char* what) {
  if (result == 0) return;
  int code = 0;
  CameraGetLastError(&code);
  throw std::runtime_error(std::string(what) + " failed with code " + std::to_string(code));
}

int anti_flicker_mode(int mains_hz) {
  if (mains_hz == 50) return 1;
  return mains_hz == 60 ? 2 : 0;
}

/// Level at which that exposure makes paper white.
double level_for(double white_ms) {
  constexpr double kNominalMs = 10;
  return kNominalMs / white_ms;
}

}  // namespace

std::vector<const CameraModel*> exposable_models() {
  std::vector<const CameraModel*> models;
  std::set<const SensorFamily*> families;
  for (auto model = model_table.rbegin(); model != model_table.rend(); ++model) {
    const SensorFamily& family = find_sensor_family(model->MID);
    if (family.write_exposure != nullptr && families.insert(&family).second) models.push_back(&*model);
  }
  return models;
}

void PrintTo(const CameraModel* model, std::ostream* out) {
  *out << std::hex << std::uppercase << "MID_" << model->MID << std::dec;
}

ExposureRun::ExposureRun(const CameraModel& model, const Options& options) {
  kxsim::CameraOptions device(model.PID);
  device.frame_rate = 0;
  device.noise = false;
  camera_ = bus_.plug(device);
  camera_->set_scene(kxsim::make_uniform({1, 1, 1}));
  must(CameraInit(kCamera), "CameraInit");
  constexpr int kPatienceMs = 30'000;  // the first frame has the full size
  must(CameraSetTimeout(kCamera, kPatienceMs), "CameraSetTimeout");
  context_ = context_at(kCamera);
  must(CameraSetGain(kCamera, 16), "CameraSetGain");
  must(CameraSetExposure(kCamera, options.first_exposure), "CameraSetExposure");
  set_mains(options.mains_hz);
  must(CameraSetAETarget(kCamera, kTarget), "CameraSetAETarget");
  // The target is a third of white. Under a lamp it lies between one and two half-periods.
  constexpr double kWhiteUnderLampMs = 3 * 12;
  const double line_ms = context_->sensor.line_time_ms;
  const double white_ms = options.mains_hz == 0 ? 600 * line_ms : kWhiteUnderLampMs;
  white_at_level_1_ = level_for(white_ms) /
                      camera_->inspect([](const kxsim::Bridge& bridge) { return bridge.shutter()->gain; });
  set_level(options.level);
  must(CameraSetAEC(kCamera, true), "CameraSetAEC");
  must(CameraSetAGC(kCamera, options.gain), "CameraSetAGC");
}

void ExposureRun::set_level(double level) {
  lighting_.level = level * white_at_level_1_;
  camera_->set_lighting(lighting_);
}

void ExposureRun::set_mains(int hz) {
  mains_hz_ = hz;
  lighting_.lamp = hz == 0 ? kxsim::Lamp{} : kxsim::Lamp{.mains_hz = double(hz), .ripple = 1};
  camera_->set_lighting(lighting_);
  must(CameraSetAntiFlicker(kCamera, anti_flicker_mode(hz)), "CameraSetAntiFlicker");
  // The half-period is counted with the geometry.
  must(CameraSetROI(kCamera, 0, 0, kWidth, kHeight), "CameraSetROI");
}

std::vector<uint8_t> ExposureRun::picture() {
  int size = kWidth * kHeight;
  std::vector<uint8_t> pixels(static_cast<size_t>(size));
  must(CameraQueryImage(kCamera, pixels.data(), &size, KXCAM_FORMAT_GREY), "CameraQueryImage");
  return pixels;
}

std::optional<ExposureRun::Outcome> ExposureRun::settle(int most_frames) {
  // Frames that were exposed before the last change are still on their way for a while: the ring and the
  // camera hold seven, and the loop takes one in four.
  constexpr int kRestFrames = 24;
  const CameraParameter& parameter = context_->parameter;
  int exposure = parameter.exposure;
  int gain = parameter.gain;
  int moved = 0;
  for (int frame = 1; frame <= most_frames; ++frame) {
    picture();
    if (parameter.exposure != exposure || parameter.gain != gain) moved = frame;
    exposure = parameter.exposure;
    gain = parameter.gain;
    if (frame - moved >= kRestFrames) {
      return Outcome{
          .frames = moved, .mean = context_->picture.mean_level, .exposure = exposure, .gain = gain};
    }
  }
  return std::nullopt;
}

}  // namespace kxcam
