// SPDX-License-Identifier: Apache-2.0
#include "core/control/auto_exposure.h"

#include <limits>

#include "core/registry/camera_parameter.h"
#include "device/vendor_request.h"
#include "sensor_test.h"
#include "usb/control_channel.h"

namespace kxcam::test {
namespace {

/// The loop's arithmetic, on a model without exposure registers.
class AutoExposureLoop : public testing::Test {
 protected:
  void SetUp() override {
    parameter_.isp_flags = kAutoExposure | kSoftwareExposureAllowed;
    parameter_.ae_target = 100;
    parameter_.exposure = 1000;
    parameter_.gain = 16;
    context_.stream.geometry = FrameGeometry{400, 400, 1};
  }

  /// One run at that mean level.
  void run(int level) {
    context_.picture.mean_level = level;
    EXPECT_TRUE(AutoExposure(context_));
  }
  /// The exposure after one run from that exposure, as if the run before had changed nothing.
  int from(int exposure, int level) {
    parameter_.exposure = exposure;
    context_.sensor.ae_last_step = 0;
    run(level);
    return parameter_.exposure;
  }
  void enable(uint16_t flags) { parameter_.isp_flags.set_bits(flags, true); }

  CameraContext context_{find_model(0x3010)};
  CameraParameter& parameter_ = context_.parameter;
};

TEST_F(AutoExposureLoop, StepsInProportionToTheError) {
  EXPECT_EQ(from(1000, 80), 1250);
  EXPECT_EQ(context_.sensor.ae_last_step, 250);
  EXPECT_EQ(context_.sensor.ae_last_avg, 80);
  EXPECT_EQ(from(1000, 200), 500);
  EXPECT_EQ(from(7, 90), 7) << "a step of less than a line is none";
  EXPECT_EQ(context_.sensor.ae_last_step, 0);
  EXPECT_EQ(from(3, 60), 5) << "cut, not rounded";
}

TEST_F(AutoExposureLoop, LeavesSmallErrorsAlone) {
  EXPECT_EQ(from(1000, 95), 1000);
  EXPECT_EQ(from(1000, 105), 1000);
  EXPECT_NE(from(1000, 94), 1000);
  EXPECT_NE(from(1000, 106), 1000);
  enable(kAntiFlicker50Hz);
  EXPECT_EQ(from(1000, 70), 1000);
  EXPECT_EQ(from(1000, 130), 1000);
  EXPECT_NE(from(1000, 69), 1000);
  EXPECT_NE(from(1000, 131), 1000);
}

TEST_F(AutoExposureLoop, KeepsItsLimits) {
  EXPECT_EQ(from(10, 0), 1010) << "a black picture: the error itself is the factor";
  EXPECT_EQ(context_.picture.mean_level, 1);
  EXPECT_EQ(context_.sensor.ae_last_avg, 1);
  EXPECT_EQ(from(100, 0), 4000);
  EXPECT_EQ(context_.sensor.ae_last_step, 4000);
  EXPECT_EQ(from(3000, 50), 4000);
  parameter_.ae_target = 0;
  EXPECT_EQ(from(10, 255), 1);
  EXPECT_EQ(context_.sensor.ae_last_step, -10);
  EXPECT_EQ(from(std::numeric_limits<int32_t>::max(), 255), 4000);
  EXPECT_EQ(context_.sensor.ae_last_step, -4000);
  parameter_.ae_target = 255;
  enable(kAutoGain);
  EXPECT_EQ(from(std::numeric_limits<int32_t>::max(), 0), 4000);
  EXPECT_EQ(parameter_.gain, 64);
}

TEST_F(AutoExposureLoop, RunsOnEveryFourthFrame) {
  for (uint32_t frame = 1; frame <= 8; ++frame) {
    context_.stream.frames_delivered = frame;
    EXPECT_EQ(from(1000, 80) != 1000, frame % 4 == 0) << frame;
  }
  parameter_.isp_flags = kSoftwareExposureAllowed;
  EXPECT_EQ(from(1000, 80), 1000) << "neither exposure nor gain is automatic";
}

TEST_F(AutoExposureLoop, WaitsOneRunForThePictureToAnswer) {
  run(50);
  EXPECT_EQ(parameter_.exposure, 2000);
  run(52);
  EXPECT_EQ(parameter_.exposure, 2000) << "no answer yet";
  run(52);
  EXPECT_EQ(parameter_.exposure, 3846) << "one run is enough to wait";
  run(55);
  EXPECT_EQ(parameter_.exposure, 4000) << "it has answered";

  context_.sensor.ae_last_step = 0;
  parameter_.exposure = 1000;
  run(200);
  EXPECT_EQ(parameter_.exposure, 500);
  run(198);
  EXPECT_EQ(parameter_.exposure, 500);
  context_.sensor.ae_last_step = -500;
  run(197);
  EXPECT_EQ(parameter_.exposure, 254);
  context_.sensor.ae_last_step = -500;
  run(250);
  EXPECT_EQ(parameter_.exposure, 254) << "brighter is no answer to a shorter exposure";
}

TEST_F(AutoExposureLoop, AntiFlickerTakesWholeHalfPeriods) {
  enable(kAntiFlicker60Hz);
  context_.sensor.flicker_lines = 400;
  EXPECT_EQ(from(1000, 50), 2000);
  EXPECT_EQ(from(1030, 60), 1600) << "1716 lines: rising, 0.29 of a period are cut";
  EXPECT_EQ(from(1035, 60), 2000) << "1725 lines: and 0.31 filled up";
  EXPECT_EQ(from(2700, 150), 1600) << "1800 lines: falling, 0.5 of a period are cut";
  EXPECT_EQ(from(2850, 150), 2000) << "1900 lines: and 0.75 filled up";
  EXPECT_EQ(from(1000, 255), 400) << "never less than one";
  context_.sensor.flicker_lines = 0;
  EXPECT_EQ(from(1000, 50), 2000) << "the half-period is not known";
}

TEST_F(AutoExposureLoop, AntiFlickerDoesNotSwingBetweenOneAndTwo) {
  enable(kAntiFlicker50Hz);
  context_.sensor.flicker_lines = 400;
  parameter_.ae_target = 200;
  EXPECT_EQ(from(400, 160), 800) << "a step of a quarter";
  EXPECT_EQ(from(400, 161), 400);
  parameter_.ae_target = 100;
  EXPECT_EQ(from(800, 134), 400) << "a step of half a period";
  EXPECT_EQ(from(1200, 250), 400);
}

TEST_F(AutoExposureLoop, GainFollowsTheExposuresShareOfTheFrame) {
  parameter_.isp_flags = kAutoGain;
  EXPECT_EQ(from(200, 80), 200) << "only the gain is automatic";
  EXPECT_EQ(parameter_.gain, 21) << "250 / 400 x 28 + 4";
  from(20, 80);
  EXPECT_EQ(parameter_.gain, 21) << "a brighter picture asks for no less gain";
  from(20, 200);
  EXPECT_EQ(parameter_.gain, 4);
  from(3000, 80);
  EXPECT_EQ(parameter_.gain, 64);
  parameter_.gain = 200;
  from(3000, 80);
  EXPECT_EQ(parameter_.gain, 200) << "what the application set higher stays";
  from(3000, 200);
  EXPECT_EQ(parameter_.gain, 64);
  context_.sensor.flicker_lines = 600;
  from(200, 200);
  EXPECT_EQ(parameter_.gain, 6) << "100 / 1000 x 28 + 4";
}

TEST_F(AutoExposureLoop, LeavesTheExposureToTheBridge) {
  parameter_.isp_flags = kAutoExposure | kAutoGain;
  EXPECT_EQ(from(200, 80), 200);
  EXPECT_EQ(parameter_.gain, 21);
}

class AutoExposureSettings : public SensorTest {};

TEST_F(AutoExposureSettings, SwitchesPostponeTheNextRun) {
  open(0x0030);
  context().stream.frames_delivered = 100;
  EXPECT_TRUE(ok(CameraSetAGC(kCamera, true)));
  EXPECT_EQ(requests(), "wAF=0") << "the sensor's own loop is stopped";
  EXPECT_EQ(context().stream.frames_delivered, 27U);
  EXPECT_TRUE(ok(CameraSetAEC(kCamera, true)));
  EXPECT_EQ(context().stream.frames_delivered, 8U);
  EXPECT_EQ(requests(), "");
  EXPECT_EQ(get(CameraGetAGC, kCamera) + get(CameraGetAEC, kCamera), 2);
  EXPECT_TRUE(ok(CameraSetAGC(kCamera, false)) && ok(CameraSetAEC(kCamera, false)));
  EXPECT_EQ(get(CameraGetAGC, kCamera) + get(CameraGetAEC, kCamera), 0);
  context().stream.frames_delivered = static_cast<uint32_t>(-40);
  EXPECT_TRUE(ok(CameraSetAEC(kCamera, true)));
  EXPECT_EQ(context().stream.frames_delivered, static_cast<uint32_t>(-8));
}

TEST_F(AutoExposureSettings, TheBridgesLoopTakesOver) {
  const struct {
    uint32_t mid;
    uint16_t features;
    bool has_loop;
  } cameras[] = {{0x0C30, 0, true}, {0x0C8B, 0, true}, {0x0600, 0x2, true}, {0x0600, 0x5, false}};
  for (const auto& expected : cameras) {
    SCOPED_TRACE(testing::Message() << std::hex << expected.mid << " features " << expected.features);
    const auto flags = [this] { return context().parameter.isp_flags & kSoftwareExposureAllowed; };
    open(expected.mid, expected.features);
    EXPECT_TRUE(ok(CameraSetAEC(kCamera, true)));
    EXPECT_EQ(requests(), expected.has_loop ? "R0" : "");
    context().parameter.isp_flags.set_bits(kSoftwareExposureAllowed, true);
    ASSERT_TRUE(isp_write(context(), 0, 0x103));
    EXPECT_TRUE(ok(CameraSetAEC(kCamera, true)));
    EXPECT_NE(flags(), 0) << "this version of the bridge has no loop";
    ASSERT_TRUE(isp_write(context(), 0, 0x104));
    forget_requests();
    EXPECT_TRUE(ok(CameraSetAEC(kCamera, true)));
    EXPECT_EQ(flags() == 0, expected.has_loop);
    EXPECT_TRUE(ok(CameraSetAntiFlicker(kCamera, 1)) && ok(CameraSetAEC(kCamera, true)));
    EXPECT_TRUE(ok(CameraSetAntiFlicker(kCamera, 2)) && ok(CameraSetAEC(kCamera, false)));
    EXPECT_NE(flags(), 0);
    EXPECT_EQ(requests(), expected.has_loop ? "R0 W19=1 R0 W19=11 R0 W19=20" : "");
    EXPECT_TRUE(ok(CameraSetAETarget(kCamera, 100)));
    EXPECT_EQ(requests(), expected.has_loop ? "W1A=640" : "");
    break_requests(kxsim::kIspWrite);
    EXPECT_EQ(ok(CameraSetAETarget(kCamera, 101)), !expected.has_loop);
    EXPECT_EQ(get(CameraGetAETarget, kCamera), 101);
  }
}

TEST_F(AutoExposureSettings, RangesAndModes) {
  open(0x0500);
  EXPECT_EQ(get(CameraGetAETarget, kCamera), 70);
  for (const int target : {-1, 256}) {
    EXPECT_EQ(code_of(CameraSetAETarget, kCamera, target), KXCAM_ERROR_ARGUMENT);
  }
  EXPECT_TRUE(ok(CameraSetAETarget(kCamera, 255)));
  EXPECT_EQ(get(CameraGetAETarget, kCamera), 255);
  context().picture.mean_level = -3;
  EXPECT_EQ(get(CameraGetAvg, kCamera), 0);
  for (const auto& [mode, reported] : {std::pair(1, 1), {2, 2}, {3, 0}, {1, 1}, {0, 0}, {-1, 0}}) {
    EXPECT_TRUE(ok(CameraSetAntiFlicker(kCamera, mode)));
    int read = 0;
    CameraGetAntiFlicker(kCamera, &read);
    EXPECT_EQ(read, reported) << mode;
  }
}

TEST_F(AutoExposureSettings, AntiFlickerThatIsOffCountsAsAFailure) {
  open(0x0500);
  int mode = 7;
  EXPECT_EQ(CameraGetAntiFlicker(kCamera, &mode), 1U);
  EXPECT_EQ(mode, 7);
  EXPECT_EQ(CameraSetAntiFlicker(kCamera, 2), 0U);
  EXPECT_EQ(CameraGetAntiFlicker(kCamera, &mode), 0U);
  EXPECT_EQ(mode, 2);
}

}  // namespace
}  // namespace kxcam::test
