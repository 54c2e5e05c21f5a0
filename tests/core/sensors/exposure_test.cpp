// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <utility>

#include "sensor_test.h"

// Exposure, gain and delay where they depend on more than their own value.

namespace kxcam::test {
namespace {

constexpr int kMost = std::numeric_limits<int>::max();

class ExposureTest : public SensorTest {
 protected:
  static bool set(int lines) { return ok(CameraSetExposure(kCamera, lines)); }
  int frame_length() { return camera().isp_register(0x14) | camera().isp_register(0x1E) << 16; }
};

TEST_F(ExposureTest, FrameLengthsThatNoRegisterSays) {
  const struct {
    uint32_t mid;
    int frame_length;
  } sensors[] = {{0x0860, 2227}, {0x3200, 1128}, {0x0910, 3500}, {0x0920, 4705}};
  for (const auto& sensor : sensors) {
    open(sensor.mid);
    break_requests(kxsim::kIspRead);
    EXPECT_TRUE(set(1)) << std::hex << sensor.mid;
    EXPECT_EQ(frame_length(), sensor.frame_length + kDelay) << std::hex << sensor.mid;
  }
  open(0x3200);
  EXPECT_EQ(CameraSetFrameRate(kCamera, true, 0.0), 0U);
  EXPECT_TRUE(set(1000));
  bool fixed = false;
  double fps = 0;
  EXPECT_EQ(CameraGetFrameRate(kCamera, &fixed, &fps), 0U);
  EXPECT_EQ(fps, 0.1) << "a rate that no frame length could give is raised for good";
  EXPECT_EQ(frame_length(), 1354096);
}

TEST_F(ExposureTest, ModesChangeWhatIsWritten) {
  const auto sent_in_mode = [&](uint32_t mid, int readout_mode, int lines) {
    open(mid);
    EXPECT_EQ(CameraSetResolutionMode(kCamera, readout_mode), 0U);
    forget_requests();
    EXPECT_TRUE(set(lines));
    return requests();
  };
  EXPECT_EQ(sent_in_mode(0x0A30, 3, 1000), "wC9=3E8 wC8=415");
  EXPECT_EQ(CameraSetDelay(kCamera, 3), 0U);
  EXPECT_EQ(requests(), "") << "the frame follows the exposure";
  break_requests(kxsim::kSensorWrite);
  EXPECT_FALSE(set(1000)) << "in this mode the exposure must have been written";
  EXPECT_EQ(sent_in_mode(0x0B20, 3, 1000), "wC9=3E8");

  open(0x3130);
  EXPECT_EQ(CameraSetSnapMode(kCamera, 2), 0U);
  forget_requests();
  EXPECT_TRUE(set(521));
  EXPECT_EQ(requests(), "w3E01=20 w3E02=80") << "no longer than this while it is triggered";

  open(0x0920, 0x4);
  EXPECT_EQ(CameraSetGlobalReset(kCamera, false), 0U);
  forget_requests();
  EXPECT_TRUE(set(1000));
  EXPECT_EQ(requests(), "R15 W14=BC4 W1E=0 wB=DD wC=7 WA=3E7 WB=0") << "its rolling shutter";

  open(0x0180);
  EXPECT_TRUE(set(960 + 115));
  EXPECT_EQ(camera().sensor_register(0x0340), 960 + 116);
  EXPECT_TRUE(set(960 + 116));
  EXPECT_EQ(camera().sensor_register(0x0340), 960 + 116 + 116);
}

TEST_F(ExposureTest, ASensorWithoutAShutterRefuses) {
  open(0x0300);
  preset_sensor(0x1E, 0x0001);
  EXPECT_EQ(code_of(CameraSetExposure, kCamera, 100), KXCAM_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(requests(), "r1E");
  EXPECT_EQ(get(CameraGetExposure, kCamera), 100) << "stored all the same";
  break_requests(kxsim::kSensorRead);
  EXPECT_EQ(code_of(CameraSetExposure, kCamera, 101), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(camera().sensor_register(0x09), 101);
}

TEST_F(ExposureTest, TheRequestedValueIsReportedWhateverTheSensorTakes) {
  open(0x0C30);
  for (const auto& [lines, units] : {std::pair(2, 20), {3, 20}, {4, 20}, {5, 80}, {7, 80}, {8, 80}}) {
    EXPECT_TRUE(set(lines));
    EXPECT_EQ(camera().isp_register(0x0A), units);
    EXPECT_EQ(get(CameraGetExposure, kCamera), lines);
  }
  break_requests(kxsim::kIspWrite);
  EXPECT_EQ(code_of(CameraSetExposure, kCamera, 9), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(get(CameraGetExposure, kCamera), 9);
}

TEST_F(ExposureTest, TheLongestExposureOverflowsNothing) {
  for (const Traffic& traffic : traffic_of("exposure")) {
    open(traffic.mids.front());
    EXPECT_EQ(CameraSetDelay(kCamera, kMost), 0U);
    EXPECT_TRUE(set(kMost)) << std::hex << traffic.mids.front();
  }
}

TEST_F(ExposureTest, IsReappliedForAGeometryWhateverBecomesOfThat) {
  open_model(0x3180);
  EXPECT_EQ(CameraSetROI(kCamera, 0, 0, 640, 480), 0U);
  EXPECT_TRUE(requests().ends_with("w3012=5 w340=254"));
  open(0x0600);
  break_requests(kxsim::kIspWrite);
  EXPECT_EQ(CameraSetResolution(kCamera, 0, nullptr, nullptr), 0U);
}

TEST_F(ExposureTest, AdvancedGainKeepsTheOtherBitsOfItsRegister) {
  const struct {
    uint32_t mid;
    uint16_t reg;
    uint16_t before;
    int level;
    int after;
  } rows[] = {{0x0120, 0x30B0, 0xFFDF, 1, 0xFFDF},
              {0x0120, 0x30B0, 0xFFDF, 0, 0xFFCF},
              {0x0180, 0x305E, 0xABCF, 200, 0xABCC}};
  for (const auto& row : rows) {
    open(row.mid);
    preset_sensor(row.reg, row.before);
    EXPECT_EQ(CameraSetAdvancedGain(kCamera, row.level), 0U);
    EXPECT_EQ(camera().sensor_register(row.reg), row.after);
  }
}

TEST_F(ExposureTest, HighConversionLimitsTheAnalogueGain) {
  open(0x0650);
  EXPECT_EQ(CameraSetAdvancedGain(kCamera, 1), 0U);
  for (const auto& [gain, written] : {std::pair(255, 224), {225, 224}, {224, 223}}) {
    EXPECT_EQ(CameraSetGain(kCamera, gain), 0U);
    EXPECT_EQ(camera().sensor_register(0x3204), written);
  }
}

TEST_F(ExposureTest, RangesOfValuesThatAreStoredOnly) {
  open(0x0100);
  const struct {
    uint32_t (*set)(int, int);
    uint32_t (*get)(int, int*);
    std::vector<int> taken;
    std::vector<int> refused;
  } rows[] = {
      {CameraSetExposure, CameraGetExposure, {1, kMost}, {0, -1}},
      {CameraSetGain, CameraGetGain, {1, 255}, {0, -1, 256}},
      {CameraSetAdvancedGain, CameraGetAdvancedGain, {0, 255}, {-1, 256}},
      {CameraSetAETarget, CameraGetAETarget, {0, 255}, {-1, 256}},
      {CameraSetDelay, CameraGetDelay, {0, 1000, kMost}, {}},
  };
  for (const auto& row : rows) {
    for (const int value : row.taken) {
      EXPECT_EQ(row.set(kCamera, value), 0U);
      EXPECT_EQ(get(row.get, kCamera), value);
    }
    for (const int value : row.refused) {
      EXPECT_EQ(code_of(row.set, kCamera, value), KXCAM_ERROR_ARGUMENT) << value;
      EXPECT_EQ(get(row.get, kCamera), row.taken.back());
    }
  }
  EXPECT_EQ(requests(), "");
}

TEST_F(ExposureTest, TheDelayAddsToTheReadout) {
  const struct {
    uint16_t width;
    uint16_t height;
    int lines;
  } readouts[] = {{2688, 1520, 2342}, {2560, 1520, 2230}, {2048, 1520, 1786}, {1920, 1520, 1786},
                  {2688, 1216, 1786}, {2688, 1200, 1658}, {1280, 720, 1658}};
  open(0x0410);
  for (const auto& readout : readouts) {
    set_readout(readout.width, readout.height);
    EXPECT_EQ(CameraSetDelay(kCamera, 3), 0U);
    EXPECT_EQ(camera().sensor_register(0x320E) << 8 | camera().sensor_register(0x320F), readout.lines + 3)
        << readout.width << " x " << readout.height;
  }
  open(0x0300);
  EXPECT_EQ(CameraSetDelay(kCamera, 1000), 0U);
  EXPECT_EQ(camera().sensor_register(0x06), 745);
  EXPECT_EQ(get(CameraGetDelay, kCamera), 1000);
  EXPECT_EQ(CameraSetDelay(kCamera, -5), 0U);
  EXPECT_EQ(get(CameraGetDelay, kCamera), 0);
  lose_device();
  EXPECT_EQ(code_of(CameraSetDelay, kCamera, 7), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(code_of(CameraGetDelay, kCamera), KXCAM_ERROR_NO_DEVICE);
}

}  // namespace
}  // namespace kxcam::test
