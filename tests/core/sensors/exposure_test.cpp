// SPDX-License-Identifier: Apache-2.0

#include <limits>
#include <utility>

#include "core/registry/camera_parameter.h"
#include "device/vendor_request.h"
#include "sensor_test.h"
#include "usb/control_channel.h"

namespace kxcam::test {
namespace {

const TrafficTable kExposures = {
    {{0x0300}, {{1, "r1E w9=1"}, {1000, "r1E w9=3E8"}, {70000, "r1E w9=1170"}}},
    {{0x0500, 0x050B, 0x0130, 0x013B}, {{1, "w9=1"}, {1000, "w9=3E8"}, {70000, "w9=1170"}}},
    {{0x0030, 0x003B}, {{1, "wB=2"}, {1000, "wB=3E9"}, {70000, "wB=1171"}}},
    {{0x0120, 0x012B, 0x0200, 0x020B, 0x0A00, 0x0A0B, 0x0510, 0x051B, 0x0E00},
     {{1, "w3012=1"}, {1000, "w3012=3E8"}, {70000, "w3012=1170"}}},
    {{0x0180, 0x018B},
     {{1, "w3012=1 w340=434"}, {1000, "w3012=3E8 w340=434"}, {70000, "w3012=1170 w340=11E4"}}},
    {{0x0E60, 0x0E6B, 0x0E70, 0x0E7B}, {{1, "wE=1"}, {1000, "wE=3E8"}, {70000, "wE=1170"}}},
    {{0x0A30, 0x0A3B, 0x0B10, 0x0B1B, 0x0B20, 0x0B2B, 0x0B50, 0x0B5B},
     {{1, "wC9=1"}, {1000, "wC9=3E8"}, {70000, "wC9=1170"}}},
    {{0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B, 0x0710, 0x071B},
     {{1, "WA=A! WB=0"}, {1000, "WA=2710! WB=0"}, {70000, "WA=AE60! WB=A"}}},
    {{0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B},
     {{1, "WA=A! WB=0"}, {1000, "WA=2710! WB=0"}, {70000, "WA=AE60! WB=A"}}},
    {{0x0860, 0x086B},
     {{1, "R15 W14=BC4 W1E=0 w3007=1! w3034=C3! w3035=B! w3036=0! w3007=0"},
      {1000, "R15 W14=BC4 W1E=0 w3007=1! w3034=DC! w3035=7! w3036=0! w3007=0"},
      {70000, "R15 W14=1170 W1E=1 w3007=1! w3034=0! w3035=0! w3036=0! w3007=0"}}},
    {{0x3200, 0x320B},
     {{1, "R15 W14=BC4 W1E=0 w3020=C2! w3021=B"},
      {1000, "R15 W14=BC4 W1E=0 w3020=DB! w3021=7"},
      {70000, "R15 W14=1172 W1E=1 w3020=1! w3021=0"}}},
    {{0x0910, 0x091B},
     {{1, "W14=DB8 W1E=0 wB=B4! wC=D"},
      {1000, "W14=DB8 W1E=0 wB=CD! wC=9"},
      {70000, "W14=117B W1E=1 wB=8! wC=0"}}},
    {{0x0920, 0x092B},
     {{1, "R15 W14=BC4 W1E=0 wB=0 wC=0 WA=0 WB=0"},
      {1000, "R15 W14=BC4 W1E=0 wB=0 wC=0 WA=3E7 WB=0"},
      {70000, "R15 W14=1177 W1E=1 wB=0 wC=0 WA=116F WB=1"}}},
    {{0x3130, 0x313B},
     {{1, "w3E01=0! w3E02=10"}, {1000, "w3E01=3E! w3E02=80"}, {70000, "w3E01=FF! w3E02=F0"}}},
    {{0x0400, 0x040B},
     {{1, "w3800=0! w3E00=0! w3E01=0! w3E02=10! w3800=10! w3800=60 w3230=0 w3231=1 r320C r320D"},
      {1000, "w3800=0! w3E00=0! w3E01=3E! w3E02=80! w3800=10! w3800=60 w3230=3 w3231=E8 r320C r320D"},
      {70000, "w3800=0! w3E00=F! w3E01=A0! w3E02=0! w3800=10! w3800=60 w3230=FA w3231=0 r320C r320D"}}},
    {{0x0410, 0x041B},
     {{1, "w3800=0! w3E00=0! w3E01=0! w3E02=10! w3800=10! w3800=60 w3230=0 w3231=1 r36EA"},
      {1000, "w3800=0! w3E00=0! w3E01=3E! w3E02=80! w3800=10! w3800=60 w3230=3 w3231=E8 r36EA"},
      {70000, "w3800=0! w3E00=F! w3E01=A0! w3E02=0! w3800=10! w3800=60 w3230=FA w3231=0 r36EA"}}},
    {{0x0DC0, 0x0DCB},
     {{1, "wE=0! wF=2! w1E=C! w1F=B2"},
      {1000, "wE=3! wF=E8! w1E=C! w1F=B2"},
      {70000, "wE=FF! wF=FF! w1E=100! w1F=3"}}},
    {{0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B}, {{1, ""}, {1000, ""}, {70000, ""}}},
};

// Sensors whose frame length the bridge keeps, at 10 frames a second.
const TrafficTable kFixedRate = {
    {{0x0860, 0x086B},
     {{1000, "R15 W14=3239 W1E=0 w3007=1! w3034=51! w3035=2E! w3036=0! w3007=0"},
      {70000, "R15 W14=1170 W1E=1 w3007=1! w3034=0! w3035=0! w3036=0! w3007=0"}}},
    {{0x3200, 0x320B},
     {{1000, "R15 W14=34E4 W1E=0 w3020=FB! w3021=30"}, {70000, "R15 W14=1172 W1E=1 w3020=1! w3021=0"}}},
    {{0x0910, 0x091B}, {{1000, "W14=2686 W1E=0 wB=9B! wC=22"}, {70000, "W14=117B W1E=1 wB=8! wC=0"}}},
    {{0x0920, 0x092B},
     {{1000, "R15 W14=1F40 W1E=0 wB=0 wC=0 WA=3E7 WB=0"},
      {70000, "R15 W14=1177 W1E=1 wB=0 wC=0 WA=116F WB=1"}}},
};

class ExposureTraffic : public SensorTest {
 protected:
  static bool set(int lines) { return ok(CameraSetExposure(kCamera, lines)); }
  bool set_at_fixed_rate(int lines) {
    context().parameter.isp_flags = 0;
    return ok(CameraSetExposure(kCamera, lines));
  }
};

TEST_F(ExposureTraffic, ReachesEverySensor) {
  expect_complete(kExposures);
  expect_traffic(kExposures, set);
  expect_results(kExposures, set);
}

TEST_F(ExposureTraffic, AFixedRateGivesTheFrameLength) {
  expect_traffic(kFixedRate, [this](int lines) { return set_at_fixed_rate(lines); });
  open(0x3200).parameter.isp_flags = 0;
  context().parameter.frame_rate = 0.0;
  EXPECT_TRUE(set(1000));
  EXPECT_EQ(context().parameter.frame_rate, 0.1)
      << "a rate that no frame length could give is raised for good";
  EXPECT_EQ(camera().isp_register(0x14) | camera().isp_register(0x1E) << 16, 1354096);
}

TEST_F(ExposureTraffic, WithoutAFrameLengthFromTheBridgeTheSensorsOwnCounts) {
  const struct {
    uint32_t mid;
    int frame_length;
  } sensors[] = {{0x0860, 2227}, {0x3200, 1128}, {0x0910, 3500}, {0x0920, 4705}};
  for (const auto& sensor : sensors) {
    open(sensor.mid);
    break_requests(kxsim::kIspRead);
    EXPECT_TRUE(set(1)) << std::hex << sensor.mid;
    EXPECT_EQ(camera().isp_register(0x14), sensor.frame_length + kDelay) << std::hex << sensor.mid;
  }
}

TEST_F(ExposureTraffic, TheRollingShutterWorksOnlyWithoutGlobalReset) {
  open(0x0920).parameter.isp_flags = kFrameRateFree | kGlobalResetOff;
  EXPECT_TRUE(set(1000));
  EXPECT_EQ(requests(), "R15 W14=BC4 W1E=0 wB=DD wC=7 WA=3E7 WB=0");
}

TEST_F(ExposureTraffic, ReadoutModesChangeWhatIsWritten) {
  open(0x0A30).parameter.resolution_mode = 3;
  EXPECT_TRUE(set(1000));
  EXPECT_EQ(requests(), "wC9=3E8 wC8=415");
  open(0x0A30).parameter.resolution_mode = 3;
  break_requests(kxsim::kSensorWrite);
  EXPECT_FALSE(set(1000)) << "in this mode the exposure must have been written";

  open(0x0B20).parameter.resolution_mode = 3;
  EXPECT_TRUE(set(1000));
  EXPECT_EQ(requests(), "wC9=3E8");

  open(0x3130).parameter.snap_mode = 2;
  EXPECT_TRUE(set(521));
  EXPECT_EQ(requests(), "w3E01=20 w3E02=80");

  open(0x0180);
  EXPECT_TRUE(set(960 + 115));
  EXPECT_EQ(camera().sensor_register(0x0340), 960 + 116);
  EXPECT_TRUE(set(960 + 116));
  EXPECT_EQ(camera().sensor_register(0x0340), 960 + 116 + 116);
}

TEST_F(ExposureTraffic, ASensorWithoutAShutterRefuses) {
  open(0x0300);
  preset_sensor(0x1E, 0x0001);
  EXPECT_EQ(code_of([] { return set(100); }), KXCAM_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(requests(), "r1E");
  EXPECT_EQ(get(CameraGetExposure, kCamera), 100) << "stored all the same";
  break_requests(kxsim::kSensorRead);
  EXPECT_EQ(code_of([] { return set(101); }), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(camera().sensor_register(0x09), 101);
}

TEST_F(ExposureTraffic, TheRequestedValueIsReportedWhateverTheSensorTakes) {
  open(0x0C30);
  EXPECT_EQ(code_of([] { return set(0); }), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code_of([] { return set(-1); }), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(get(CameraGetExposure, kCamera), 5);
  EXPECT_EQ(requests(), "");
  for (const auto& [lines, units] : {std::pair(2, 20), {3, 20}, {4, 20}, {5, 80}, {7, 80}, {8, 80}}) {
    EXPECT_TRUE(set(lines));
    EXPECT_EQ(camera().isp_register(0x0A), units);
    EXPECT_EQ(get(CameraGetExposure, kCamera), lines);
  }
  break_requests(kxsim::kIspWrite);
  EXPECT_EQ(code_of([] { return set(9); }), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(get(CameraGetExposure, kCamera), 9);
}

TEST_F(ExposureTraffic, TheLongestExposureOverflowsNothing) {
  for (const Traffic& traffic : kExposures) {
    open(traffic.mids.front()).parameter.delay = std::numeric_limits<int32_t>::max();
    EXPECT_TRUE(set(std::numeric_limits<int32_t>::max())) << std::hex << traffic.mids.front();
  }
}

TEST_F(ExposureTraffic, IsReappliedForAGeometryWhateverBecomesOfThat) {
  open_model(0x3180).parameter.exposure = 5;
  EXPECT_EQ(CameraSetROI(kCamera, 0, 0, 640, 480), 0U);
  EXPECT_TRUE(requests().ends_with("w3012=5 w340=254"));
  open(0x0600);
  camera().inject({.requests = {{.code = 0xB6}}});
  EXPECT_EQ(CameraSetResolution(kCamera, 0, nullptr, nullptr), 0U);
}

}  // namespace
}  // namespace kxcam::test
