// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <numeric>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core/sensors/sensor_family.h"
#include "device/vendor_request.h"
#include "exposure_run.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

constexpr int kMostFrames = 80;
constexpr int kLongestLoopExposure = 4000;

/// Difference between the brightest and the darkest row.
int bands(const std::vector<uint8_t>& picture) {
  std::vector<int> rows;
  for (auto row = picture.begin(); row != picture.end(); row += ExposureRun::kWidth) {
    rows.push_back(std::accumulate(row, row + ExposureRun::kWidth, 0) / ExposureRun::kWidth);
  }
  const auto [darkest, brightest] = std::ranges::minmax(rows);
  return brightest - darkest;
}

class ExposureLoop : public testing::TestWithParam<const CameraModel*> {
 protected:
  /// The loop comes to rest in its band and inside its limits.
  static void expect_settled(ExposureRun& run, const char* after) {
    SCOPED_TRACE(after);
    const auto rest = run.settle(kMostFrames);
    ASSERT_TRUE(rest.has_value()) << "mean " << run.context().picture.mean_level;
    EXPECT_NEAR(rest->mean, ExposureRun::kTarget, run.band());
    EXPECT_GE(rest->exposure, 1);
    EXPECT_LE(rest->exposure, kLongestLoopExposure);
  }

  static size_t register_writes(const ExposureRun& run) {
    return run.camera().requests(kxsim::kSensorWrite).size() + run.camera().requests(kxsim::kIspWrite).size();
  }
};

TEST_P(ExposureLoop, ReachesItsTargetAndStays) {
  ExposureRun run(*GetParam(), {.first_exposure = 1});
  expect_settled(run, "a dark start");
  run.camera().clear_requests();
  for (int frame = 0; frame < 40; ++frame) run.picture();
  EXPECT_EQ(register_writes(run), 0U);
  run.set_level(4);
  expect_settled(run, "a lamp switched on");
  run.set_level(0.25);
  expect_settled(run, "and off");
  ASSERT_EQ(CameraSetExposure(0, kLongestLoopExposure), 0U);
  run.set_level(1);
  expect_settled(run, "a bright start");
}

TEST_P(ExposureLoop, GainStaysInTheLoopsRange) {
  ExposureRun run(*GetParam(), {.first_exposure = kLongestLoopExposure, .gain = true});
  for (const double level : {1.0, 20.0, 0.01}) {
    run.set_level(level);
    for (int frame = 0; frame < 60; ++frame) {
      run.picture();
      const int gain = run.context().parameter.gain;
      const int exposure = run.context().parameter.exposure;
      ASSERT_TRUE(gain >= 1 && gain <= 64 && exposure >= 1 && exposure <= kLongestLoopExposure)
          << gain << " at " << exposure;
    }
  }
  EXPECT_GT(run.context().parameter.gain, 20) << "in the dark it is raised";
}

TEST_P(ExposureLoop, AFlickeringLampLeavesNoBands) {
  ExposureRun run(*GetParam(), {.mains_hz = 50});
  for (const int mains_hz : {50, 60}) {
    SCOPED_TRACE(mains_hz);
    ASSERT_EQ(CameraSetExposure(0, 1), 0U);
    run.set_mains(mains_hz);
    const double line_before = run.context().sensor.line_time_ms;
    // The loop cannot hold an exposure of several such half-periods.
    if (run.context().sensor.flicker_lines * 3 > kLongestLoopExposure) continue;
    expect_settled(run, "flicker");
    // There the bridge is the first to meet the target, and knows nothing of lamps.
    if (run.context().family.bridge_auto_exposure) continue;
    const int lines = run.context().parameter.exposure;
    const int period = run.context().sensor.flicker_lines;
    const int periods = (lines + period / 2) / period;
    // Where the line depends on the exposure, a half-period may have another line after the last step.
    const int change = run.context().sensor.line_time_ms == line_before ? 0 : 1;
    EXPECT_GE(periods, 1) << lines;
    EXPECT_LE(std::abs(lines - periods * period), change * periods) << lines;
    // The sensors whose line depends on the exposure count half-periods with half their clock.
    const double half_periods = lines * run.context().sensor.line_time_ms * mains_hz * 2 / 1000;
    if (std::abs(half_periods - std::round(half_periods)) > 0.1) continue;
    EXPECT_LE(bands(run.picture()), 2);
  }
}

INSTANTIATE_TEST_SUITE_P(Sensor, ExposureLoop, testing::ValuesIn(exposable_models()),
                         [](const auto& sensor) { return fmt::format("MID_{:X}", sensor.param->MID); });

/// As a user meets it: the settings that the maker stored, and the light that the simulator has by itself.
TEST_P(ExposureLoop, AFreshCameraIsWellExposedAndTheLoopSettles) {
  test::TestBus bus;
  bus.plug(fmt::format("{:04X},fps=0", GetParam()->PID));
  ASSERT_EQ(CameraInit(0), 0U);
  ASSERT_EQ(CameraSetTimeout(0, 30'000), 0U);
  int width = 0;
  int height = 0;
  ASSERT_EQ(CameraSetResolution(0, 2, &width, &height), 0U);
  const auto mean = [&] {
    int size = width * height;
    std::vector<uint8_t> picture(static_cast<size_t>(size));
    EXPECT_EQ(CameraQueryImage(0, picture.data(), &size, KXCAM_FORMAT_GREY), 0U);
    int64_t sum = 0;
    int white = 0;
    // By pointer: unoptimised, an algorithm takes longer than all else here.
    const uint8_t* end = picture.data() + size;
    for (const uint8_t* sample = picture.data(); sample != end; ++sample) {
      sum += *sample;
      if (*sample == 255) ++white;
    }
    EXPECT_LT(white * 50, size) << "a 50th is white";
    return static_cast<int>(sum / size);
  };
  for (int frame = 0; frame < 6; ++frame) mean();
  EXPECT_NEAR(mean(), 85, 45);
  ASSERT_EQ(CameraSetAEC(0, true), 0U);
  for (int frame = 0; frame < kMostFrames; ++frame) mean();
  EXPECT_NEAR(mean(), ExposureRun::kTarget, 6);
}

/// The lamp is one that bands can be seen under.
TEST(FlickeringLamp, MakesBandsOutsideWholeHalfPeriods) {
  ExposureRun run(model_table[find_model(0x3500)], {.mains_hz = 50});
  ASSERT_EQ(CameraSetAEC(0, 0), 0U);
  ASSERT_EQ(CameraSetExposure(0, run.context().sensor.flicker_lines / 2), 0U);
  for (int frame = 0; frame < 10; ++frame) run.picture();
  EXPECT_GT(bands(run.picture()), 5);
}

}  // namespace
}  // namespace kxcam
