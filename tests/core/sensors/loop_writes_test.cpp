// SPDX-License-Identifier: Apache-2.0

#include <cmath>

#include "core/control/auto_exposure.h"
#include "core/picture/isp.h"
#include "core/registry/camera_parameter.h"
#include "device/vendor_request.h"
#include "sensor_test.h"

namespace kxcam::test {
namespace {

const TrafficTable kLoopGains = {
    {{0x0300, 0x0500, 0x050B, 0x0130, 0x013B, 0x0030, 0x003B}, {{5, "w35=5!"}, {40, "w35=28!"}}},
    {{0x0120, 0x012B}, {{5, "w305E=5!"}, {40, "w305E=28!"}}},
    {{0x0200, 0x020B}, {{5, "w305E=A!"}, {40, "w305E=50!"}}},
    {{0x0A00, 0x0A0B, 0x0E00}, {{5, "w305E=1054!"}, {40, "w305E=1C50!"}}},
    {{0x0180, 0x018B}, {{5, "w305E=2010!"}, {40, "w305E=3FD0!"}}},
    {{0x0510, 0x051B}, {{5, "w305E=2504!"}, {40, "w305E=2920!"}}},
    {{0x0400, 0x040B},
     {{5, "w3800=0! w3E08=3! w3E09=4A! w3800=10! w3800=60!"},
      {40, "w3800=0! w3E08=3! w3E09=90! w3800=10! w3800=60!"}}},
    {{0x0410, 0x041B}, {{5, "w3E08=0! w3E09=50!"}, {40, "w3E08=1! w3E09=68!"}}},
    {{0x3130, 0x313B}, {{5, "w3E08=3! w3E09=22!"}, {40, "w3E08=3! w3E09=33!"}}},
    {{0x3200, 0x320B}, {{5, "w3014=1!"}, {40, "w3014=9!"}}},
    {{0x0860, 0x086B}, {{5, "w301F=4!"}, {40, "w301F=27!"}}},
    {{0x0910, 0x091B, 0x0920, 0x092B}, {{5, "w9=60! wA=0!"}, {40, "w9=E8! wA=2!"}}},
    {{0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B, 0x0710, 0x071B},
     {{5, "w3204=4!"}, {40, "w3204=27!"}}},
    {{0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B},
     {{5, "w13=0! w14=64! w15=1! w17=1! w19=1! w1B=1!"}, {40, "w13=3! w14=80! w15=1! w17=1! w19=1! w1B=1!"}}},
    {{0x0A30, 0x0A3B, 0x0B10, 0x0B1B, 0x0B20, 0x0B2B, 0x0B50, 0x0B5B}, {{5, "wCD=94!"}, {40, "wCD=120!"}}},
    {{0x0E60, 0x0E6B, 0x0E70, 0x0E7B}, {{5, "w11=80!"}, {40, "w11=1A0!"}}},
    {{0x0DC0, 0x0DCB}, {{5, "w15=5!"}, {40, "w15=28!"}}},
    {{0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B}, {{5, ""}, {40, ""}}},
};

const TrafficTable kLoopExposures = {
    {{0x0300, 0x0500, 0x050B, 0x0130, 0x013B}, {{1, "w9=1!"}, {4000, "w9=FA0!"}}},
    {{0x0030, 0x003B}, {{1, "wB=2!"}, {4000, "wB=FA1!"}}},
    {{0x0120, 0x012B, 0x0200, 0x020B, 0x0A00, 0x0A0B, 0x0E00, 0x0180, 0x018B, 0x0510, 0x051B},
     {{1, "w3012=1!"}, {4000, "w3012=FA0!"}}},
    {{0x0400, 0x040B, 0x0410, 0x041B},
     {{1, "w3800=0! w3E00=0! w3E01=0! w3E02=10! w3800=10! w3800=60!"},
      {4000, "w3800=0! w3E00=0! w3E01=FA! w3E02=0! w3800=10! w3800=60!"}}},
    {{0x3130, 0x313B}, {{1, "w3E01=0! w3E02=10!"}, {4000, "w3E01=FA! w3E02=0!"}}},
    {{0x3200, 0x320B},
     {{1, "R15 W14=BC4 W1E=0 w3020=C2! w3021=B"}, {4000, "R15 W14=FA2 W1E=0 w3020=1! w3021=0"}}},
    {{0x0860, 0x086B},
     {{1, "R15 W14=BC4 W1E=0 w3007=1! w3034=C3! w3035=B! w3036=0! w3007=0"},
      {4000, "R15 W14=FA0 W1E=0 w3007=1! w3034=0! w3035=0! w3036=0! w3007=0"}}},
    {{0x0910, 0x091B}, {{1, "W14=DB8 W1E=0 wB=B4! wC=D"}, {4000, "W14=FAB W1E=0 wB=8! wC=0"}}},
    {{0x0920, 0x092B},
     {{1, "R15 W14=BC4 W1E=0 wB=0 wC=0 WA=0 WB=0"}, {4000, "R15 W14=FA7 W1E=0 wB=0 wC=0 WA=F9F WB=0"}}},
    {{0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B, 0x0710, 0x071B},
     {{1, "WA=A! WB=0!"}, {4000, "WA=9C40! WB=0!"}}},
    {{0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B}, {{1, "WA=50! WB=0!"}, {4000, "WA=9C40! WB=0!"}}},
    {{0x0A30, 0x0A3B, 0x0B10, 0x0B1B, 0x0B20, 0x0B2B, 0x0B50, 0x0B5B}, {{1, "wC9=1!"}, {4000, "wC9=FA0!"}}},
    {{0x0E60, 0x0E6B, 0x0E70, 0x0E7B}, {{1, "wE=1!"}, {4000, "wE=FA0!"}}},
    {{0x0DC0, 0x0DCB}, {{1, "wE=0! wF=2! w1E=C! w1F=B2!"}, {4000, "wE=F! wF=A0! w1E=F! w1F=A4!"}}},
    {{0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B}, {{1, ""}, {4000, ""}}},
};

class LoopWrites : public SensorTest {
 protected:
  /// Lets the loop arrive at that gain from 1: the picture is half as bright as it should be.
  bool drive_gain(int gain) {
    CameraParameter& parameter = context().parameter;
    parameter.isp_flags = kFrameRateFree | kAutoGain;
    parameter.gain = 1;
    // Twice the exposure is the share of a frame that asks for this gain.
    parameter.exposure = static_cast<int>(std::lround((gain - 3.5) * 960 / 28 / 2));
    return run(200, gain, parameter.gain);
  }

  bool drive_exposure(int lines) {
    CameraParameter& parameter = context().parameter;
    parameter.isp_flags = kFrameRateFree | kAutoExposure | kSoftwareExposureAllowed;
    const bool shortest = lines == 1;
    parameter.exposure = shortest ? 2 : lines == 4000 ? 3000 : lines / 2;
    return run(shortest ? 0 : 200, lines, parameter.exposure);
  }

 private:
  bool run(int target, int expected, const Relaxed<int32_t>& reached) {
    context().parameter.ae_target = target;
    context().picture.mean_level = 100;
    const bool result = AutoExposure(context());
    EXPECT_EQ(reached, expected);
    return result;
  }
};

TEST_F(LoopWrites, GainReachesEverySensor) {
  expect_complete(kLoopGains);
  const auto drive = [this](int gain) { return drive_gain(gain); };
  expect_traffic(kLoopGains, drive);
  expect_results(kLoopGains, drive);
}

TEST_F(LoopWrites, ExposureReachesEverySensor) {
  expect_complete(kLoopExposures);
  const auto drive = [this](int lines) { return drive_exposure(lines); };
  expect_traffic(kLoopExposures, drive);
  expect_results(kLoopExposures, drive);
}

TEST_F(LoopWrites, GainComesBeforeExposureAndAFailureStopsNeither) {
  open(0x0500).parameter.isp_flags = kAutoGain | kAutoExposure | kSoftwareExposureAllowed;
  const auto run = [this] {
    context().parameter.gain = 1;
    context().parameter.exposure = 283;
    context().parameter.ae_target = 200;
    context().picture.mean_level = 100;
    context().sensor.ae_last_step = 0;
    return AutoExposure(context());
  };
  EXPECT_TRUE(run());
  EXPECT_EQ(requests(), "w35=14 w9=236");
  camera().inject({.requests = {{.which = {1, 2}}}});
  EXPECT_FALSE(run());
  EXPECT_EQ(requests(), "w35=14 w35=14 w9=236");
}

TEST_F(LoopWrites, FollowEveryPictureAndOnlyAGreyOneFailsWithThem) {
  const FrameGeometry size{8, 8, 1};
  std::vector<uint8_t> frame(64, 100);
  std::vector<uint8_t> picture(64 * 3);
  const auto develop = [&](int format) {
    context().parameter.exposure = 283;
    context().stream.frames_delivered = 3;
    context().sensor.ae_last_step = 0;
    return ok(CameraISP(kCamera, frame.data(), picture.data(), 8, 8, format));
  };
  for (const uint32_t mid : {0x0500U, 0x050BU}) {
    open(mid).parameter.isp_flags = kAutoExposure | kSoftwareExposureAllowed;
    context().parameter.ae_target = 200;
    context().stream.index_map.store(std::make_shared<const IndexMap>(8, 8, false, false, false));
    EXPECT_TRUE(develop(KXCAM_FORMAT_GREY));
    EXPECT_TRUE(develop(KXCAM_FORMAT_COLOR));
    EXPECT_EQ(requests(), "w9=236 w9=236");
    EXPECT_TRUE(develop(KXCAM_FORMAT_RAW | KXCAM_FORMAT_GREY) && develop(0));
    EXPECT_EQ(requests(), "") << "no picture was made";

    break_requests(kxsim::kSensorWrite);
    EXPECT_TRUE(develop(KXCAM_FORMAT_COLOR));
    EXPECT_FALSE(develop(KXCAM_FORMAT_GREY));
    context().stream.frames_delivered = 3;
    context().sensor.ae_last_step = 0;
    context().parameter.exposure = 283;
    EXPECT_TRUE(isp_raw_frame(context(), frame.data(), picture.data(), size, KXCAM_FORMAT_GREY));
    EXPECT_EQ(context().parameter.exposure, 566) << "it tried";
  }
}

}  // namespace
}  // namespace kxcam::test
