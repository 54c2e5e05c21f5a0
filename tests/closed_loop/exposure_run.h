// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "camera_bus.h"
#include "core/registry/camera_context.h"

namespace kxcam {

/// One model of every sensor family whose exposure has a register, of its newest bridge.
std::vector<const CameraModel*> exposable_models();

/// The model's name in the reports of GoogleTest.
void PrintTo(const CameraModel* model, std::ostream* out);

/// An open camera in front of a grey field, with a small window for speed, whose exposure loop runs. At level
/// 1 the target is met at about 200 lines of the gain it starts with, or under a lamp at 12 ms.
class ExposureRun {
 public:
  struct Options {
    int first_exposure = 200;  ///< lines
    int mains_hz = 0;          ///< 50 or 60: the light flickers, and anti-flicker is on; 0: daylight
    bool gain = false;         ///< automatic too
    double level = 1;
  };
  struct Outcome {
    int frames = 0;  ///< until the loop had come to rest
    int mean = 0;    ///< then
    int exposure = 0;
    int gain = 0;
  };

  /// Throws std::runtime_error when the camera cannot be opened.
  ExposureRun(const CameraModel& model, const Options& options);

  /// Frames until the loop has left exposure and gain alone for some runs; nothing when it had not within
  /// `most_frames`.
  std::optional<Outcome> settle(int most_frames);
  /// Changes the light, as in Options.
  void set_level(double level);
  void set_mains(int hz);
  /// A grey picture; throws std::runtime_error when none comes.
  std::vector<uint8_t> picture();

  static constexpr int kWidth = 320;
  static constexpr int kHeight = 400;
  static constexpr int kTarget = 70;
  int band() const { return mains_hz_ == 0 ? 5 : 30; }
  CameraContext& context() { return *context_; }
  kxsim::SimulatedCamera& camera() const { return *camera_; }

 private:
  test::TestBus bus_;
  int mains_hz_ = 0;
  kxsim::Lighting lighting_;
  double white_at_level_1_ = 1;
  std::shared_ptr<kxsim::SimulatedCamera> camera_;
  std::shared_ptr<CameraContext> context_;
};

}  // namespace kxcam
