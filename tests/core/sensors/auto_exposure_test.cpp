// SPDX-License-Identifier: Apache-2.0
#include <limits>

#include "sensor_test.h"

// The exposure loop, seen from outside: levels in, exposure and gain out.

namespace kxcam::test {
namespace {

constexpr uint32_t kWithoutTiming = 0x0100;    ///< no half-period is known
constexpr uint32_t kTenMicroseconds = 0x0600;  ///< a line; a half-period of 50 Hz has 1000

class AutoExposureTest : public SensorTest {
 protected:
  void open_loop(uint32_t mid, int target, bool gain = false) {
    open(mid);
    EXPECT_EQ(CameraSetROI(kCamera, 0, 0, 400, 400), 0U);
    EXPECT_TRUE(ok(CameraSetAETarget(kCamera, target)) && ok(CameraSetAGC(kCamera, gain)) &&
                ok(CameraSetAEC(kCamera, !gain)));
    rest();
  }

  /// Four frames of that level, as the loop runs on every fourth, and the exposure then.
  int run(int level) {
    for (int frame = 0; frame < 4; ++frame) EXPECT_TRUE(develop(level));
    return get(CameraGetExposure, kCamera);
  }
  /// Frames at the target: no step waits for an answer.
  void rest() { run(get(CameraGetAETarget, kCamera)); }
  /// The exposure after one run from that exposure.
  int from(int exposure, int level) {
    rest();
    EXPECT_EQ(CameraSetExposure(kCamera, exposure), 0U);
    return run(level);
  }
  /// The gain likewise.
  int gain_from(int exposure, int level) {
    from(exposure, level);
    return get(CameraGetGain, kCamera);
  }
};

struct Step {
  int target;
  int exposure;
  int level;
  int result;
  const char* why = "";
};

TEST_F(AutoExposureTest, StepsInProportionToTheError) {
  constexpr Step kSteps[] = {
      {100, 1000, 80, 1250},
      {100, 1000, 200, 500},
      {100, 7, 90, 7, "a step of less than a line is none"},
      {100, 3, 60, 5, "cut, not rounded"},
      {100, 1000, 95, 1000, "small errors are left alone"},
      {100, 1000, 105, 1000},
      {100, 1000, 94, 1063},
      {100, 1000, 106, 944},
      {100, 10, 0, 1010, "a black picture: the error itself is the factor"},
      {100, 100, 0, 4000},
      {100, 3000, 50, 4000},
      {0, 10, 255, 1},
      {0, std::numeric_limits<int32_t>::max(), 255, 4000},
  };
  open_loop(kWithoutTiming, 100);
  for (const Step& step : kSteps) {
    EXPECT_EQ(CameraSetAETarget(kCamera, step.target), 0U);
    EXPECT_EQ(from(step.exposure, step.level), step.result)
        << step.exposure << " at " << step.level << ' ' << step.why;
  }
}

TEST_F(AutoExposureTest, AntiFlickerTakesWholeHalfPeriods) {
  constexpr Step kSteps[] = {
      {100, 1000, 70, 1000, "larger errors are left alone"},
      {100, 1000, 130, 1000},
      {100, 1500, 50, 3000},
      {100, 1374, 60, 2000, "rising to 2289 lines: 0.29 of a period are cut"},
      {100, 1390, 60, 3000, "and 0.32 filled up"},
      {100, 3750, 150, 2000, "falling to 2500 lines: 0.5 of a period are cut"},
      {100, 4125, 150, 3000, "and 0.75 filled up"},
      {100, 1000, 255, 1000, "never less than one"},
      {200, 1000, 160, 2000, "from one to two with a step of a quarter"},
      {200, 1000, 161, 1000},
      {100, 2000, 134, 1000, "and back with one of half a period"},
      {100, 3000, 250, 1000},
  };
  open_loop(kTenMicroseconds, 100);
  EXPECT_EQ(CameraSetAntiFlicker(kCamera, 1), 0U);
  EXPECT_EQ(CameraSetROI(kCamera, 0, 0, 400, 400), 0U) << "counts the half-period";
  for (const Step& step : kSteps) {
    EXPECT_EQ(CameraSetAETarget(kCamera, step.target), 0U);
    EXPECT_EQ(from(step.exposure, step.level), step.result)
        << step.exposure << " at " << step.level << ' ' << step.why;
  }
  open_loop(kWithoutTiming, 100);
  EXPECT_EQ(CameraSetAntiFlicker(kCamera, 1), 0U);
  EXPECT_EQ(from(1000, 50), 2000) << "the half-period is not known";
}

TEST_F(AutoExposureTest, WaitsOneRunForThePictureToAnswer) {
  open_loop(kWithoutTiming, 100);
  EXPECT_EQ(from(1000, 50), 2000);
  EXPECT_EQ(run(52), 2000) << "no answer yet";
  EXPECT_EQ(run(52), 3846) << "one run is enough to wait";
  EXPECT_EQ(run(55), 4000) << "it has answered";
  for (const auto& [level, exposure] : {std::pair(198, 500), {197, 254}, {250, 500}}) {
    EXPECT_EQ(from(1000, 200), 500);
    EXPECT_EQ(run(level), exposure) << "brighter is no answer to a shorter exposure";
  }
}

TEST_F(AutoExposureTest, GainFollowsTheExposuresShareOfTheFrame) {
  open_loop(kWithoutTiming, 100, true);
  EXPECT_EQ(gain_from(200, 80), 21) << "250 / 400 x 28 + 4";
  EXPECT_EQ(get(CameraGetExposure, kCamera), 200) << "only the gain is automatic";
  EXPECT_EQ(gain_from(20, 80), 21) << "a brighter picture asks for no less gain";
  EXPECT_EQ(gain_from(20, 200), 4);
  EXPECT_EQ(gain_from(3000, 80), 64);
  EXPECT_EQ(CameraSetGain(kCamera, 200), 0U);
  EXPECT_EQ(gain_from(3000, 80), 200) << "what the application set higher stays";
  EXPECT_EQ(gain_from(3000, 200), 64);
  open_loop(kTenMicroseconds, 100, true);
  EXPECT_EQ(gain_from(200, 200), 6) << "100 / 1400 x 28 + 4: with the half-period";
}

TEST_F(AutoExposureTest, SwitchesPostponeTheNextRun) {
  for (const auto& [frames, until_run] : {std::pair(0, 2), {8, 4}, {12, 3}, {100, 1}}) {
    open(kWithoutTiming);
    set_readout(16, 16);
    EXPECT_EQ(CameraSetExposure(kCamera, 1000), 0U);
    for (int frame = 0; frame < frames; ++frame) EXPECT_TRUE(develop(10));
    EXPECT_EQ(CameraSetAEC(kCamera, true), 0U);
    int more = 0;
    while (get(CameraGetExposure, kCamera) == 1000 && more < 9) {
      EXPECT_TRUE(develop(10));
      ++more;
    }
    EXPECT_EQ(more, until_run) << "after " << frames;
  }
  open(0x0030);
  EXPECT_EQ(CameraSetAGC(kCamera, true), 0U);
  EXPECT_EQ(requests(), "wAF=0") << "the sensor's own loop is stopped";
}

TEST_F(AutoExposureTest, TheBridgesLoopTakesOver) {
  const struct {
    uint32_t mid;
    uint16_t features;
    bool has_loop;
  } cameras[] = {{0x0C30, 0, true}, {0x0C8B, 0, true}, {0x0600, 0x2, true}, {0x0600, 0x5, false}};
  for (const auto& expected : cameras) {
    SCOPED_TRACE(testing::Message() << std::hex << expected.mid << " features " << expected.features);
    // Whether the library's loop runs.
    const auto exposes = [this] {
      const bool changed = from(1000, 20) != 1000;
      forget_requests();
      return changed;
    };
    open(expected.mid, expected.features);
    set_readout(16, 16);
    preset_bridge(0, 0x103);
    EXPECT_EQ(CameraSetAEC(kCamera, true), 0U);
    EXPECT_EQ(requests(), expected.has_loop ? "R0" : "");
    EXPECT_TRUE(exposes()) << "this version of the bridge has no loop";
    preset_bridge(0, 0x104);
    EXPECT_EQ(CameraSetAEC(kCamera, true), 0U);
    EXPECT_TRUE(ok(CameraSetAntiFlicker(kCamera, 1)) && ok(CameraSetAEC(kCamera, true)));
    EXPECT_EQ(requests(), expected.has_loop ? "R0 W19=1 R0 W19=11" : "");
    EXPECT_EQ(exposes(), !expected.has_loop);
    EXPECT_TRUE(ok(CameraSetAntiFlicker(kCamera, 2)) && ok(CameraSetAEC(kCamera, false)));
    EXPECT_EQ(CameraSetAETarget(kCamera, 100), 0U);
    EXPECT_EQ(requests(), expected.has_loop ? "R0 W19=20 W1A=640" : "");
    break_requests(kxsim::kIspWrite);
    EXPECT_EQ(code_of(CameraSetAETarget, kCamera, 101), expected.has_loop ? KXCAM_ERROR_WRITE_REQUEST : 0);
    EXPECT_EQ(get(CameraGetAETarget, kCamera), 101);
  }
}

TEST_F(AutoExposureTest, AntiFlickerThatIsOffCountsAsAFailure) {
  open(0x0500);
  for (const auto& [mode, reported] : {std::pair(1, 1), {2, 2}, {3, 7}, {1, 1}, {0, 7}, {-1, 7}}) {
    EXPECT_EQ(CameraSetAntiFlicker(kCamera, mode), 0U);
    int read = 7;
    EXPECT_EQ(CameraGetAntiFlicker(kCamera, &read), reported == 7 ? 1U : 0U);
    EXPECT_EQ(read, reported) << mode;
  }
}

}  // namespace
}  // namespace kxcam::test
