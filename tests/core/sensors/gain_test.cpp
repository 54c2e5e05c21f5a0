// SPDX-License-Identifier: Apache-2.0

#include "sensor_test.h"

namespace kxcam::test {
namespace {

const TrafficTable kGains = {
    {{0x0300, 0x0500, 0x050B}, {{20, "w35=14"}, {100, "w35=72"}, {255, "w35=87F"}}},
    {{0x0130, 0x013B}, {{20, "w35=A"}, {100, "w35=59"}, {255, "w35=67"}}},
    {{0x0030, 0x003B}, {{20, "w35=14"}, {100, "w35=29"}, {255, "w35=3F"}}},
    {{0x0120, 0x012B}, {{20, "w305E=14"}, {100, "w305E=64"}, {255, "w305E=FF"}}},
    {{0x0200, 0x020B}, {{20, "w305E=A0"}, {100, "w305E=320"}, {255, "w305E=7F8"}}},
    {{0x0A00, 0x0A0B, 0x0E00}, {{20, "w305E=1850"}, {100, "w305E=1C64"}, {255, "w305E=1C64"}}},
    {{0x0180, 0x018B}, {{20, "w305E=2050"}, {100, "w305E=7FE0"}, {255, "w305E=FFF8"}}},
    {{0x0510, 0x051B}, {{20, "w305E=3026"}, {100, "w305E=5240"}, {255, "w305E=9FC0"}}},
    {{0x0E60, 0x0E6B, 0x0E70, 0x0E7B}, {{20, "w11=18C"}, {100, "w11=1DC"}, {255, "w11=1FF"}}},
    {{0x3130, 0x313B}, {{20, "w3E08=3! w3E09=29"}, {100, "w3E08=7! w3E09=31"}, {255, "w3E08=67! w3E09=3F"}}},
    {{0x0400, 0x040B},
     {{20, "w3800=0 w3E08=3 w3E09=66 w3800=10 w3800=60"},
      {100, "w3800=0 w3E08=27 w3E09=43 w3800=10 w3800=60"},
      {255, "w3800=0 w3E08=3F w3E09=3F w3800=10 w3800=60"}}},
    {{0x0410, 0x041B}, {{20, "w3E08=0 w3E09=C8"}, {100, "w3E08=3 w3E09=48"}, {255, "w3E08=8 w3E09=20"}}},
    {{0x0A30, 0x0A3B, 0x0B10, 0x0B1B, 0x0B20, 0x0B2B, 0x0B50, 0x0B5B},
     {{20, "wCD=D0"}, {100, "wCD=210"}, {255, "wCD=47C"}}},
    {{0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B, 0x0710, 0x071B},
     {{20, "w3204=13"}, {100, "w3204=63"}, {255, "w3204=FE"}}},
    {{0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B}, {{20, "p2=14"}, {100, "p2=64"}, {255, "p2=FF"}}},
    {{0x3200, 0x320B}, {{20, "w3014=7"}, {100, "w3014=27"}, {255, "w3014=65"}}},
    {{0x0860, 0x086B}, {{20, "w301F=13"}, {100, "w301F=63"}, {255, "w301F=FE"}}},
    {{0x0910, 0x091B},
     {{20, "w9=75! wA=0! w352=1E! w353=1D"},
      {100, "w9=65! wA=2! w352=2F! w353=2E"},
      {255, "w9=26! wA=6! w352=2F! w353=2E"}}},
    {{0x0920, 0x092B}, {{20, "w9=21! wA=0"}, {100, "w9=B0! wA=0"}, {255, "w9=C4! wA=1"}}},
    {{0x0DC0, 0x0DCB}, {{20, "w15=14"}, {100, "w15=64"}, {255, "w15=F0"}}},
    {{0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B}, {{20, ""}, {100, ""}, {255, ""}}},
};

const TrafficTable kAdvanced = {
    {{0x0120, 0x012B}, {{0, "r30B0 w30B0=0"}, {2, "r30B0 w30B0=20"}, {9, "r30B0 w30B0=30"}}},
    {{0x0200, 0x020B}, {{0, "w3060=B"}, {2, "w3060=2B"}, {9, "w3060=5F"}}},
    {{0x0180, 0x018B}, {{0, "r305E w305E=0"}, {2, "r305E w305E=2"}, {9, "r305E w305E=4"}}},
    {{0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B, 0x0710, 0x071B},
     {{0, "w3205=0"}, {2, "w3205=1"}, {9, "w3205=1"}}},
    {{0x0860, 0x086B}, {{0, "w301B=0"}, {2, "w301B=1E"}, {9, "w301B=1E"}}},
    {{0x0910, 0x091B}, {{0, "w11=0"}, {2, "w11=2"}, {9, "w11=3"}}},
    {{0x0920, 0x092B}, {{0, "w11=0 w45=32"}, {2, "w11=2 w45=7F"}, {9, "w11=3 w45=CF"}}},
    {{0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B},
     {{0, "w15=1 w17=1 w19=1 w1B=1"}, {2, "w15=3 w17=3 w19=3 w1B=3"}, {9, "w15=A w17=A w19=A w1B=A"}}},
    {{0x0DC0, 0x0DCB},
     {{0, "w16=1 w18=1 w1A=1 w1C=1"}, {2, "w16=3 w18=3 w1A=3 w1C=3"}, {9, "w16=A w18=A w1A=A w1C=A"}}},
    {{0x0400, 0x040B},
     {{0, "w3800=0 w3E06=0 w3E07=80 w3800=10 w3800=60"},
      {2, "w3800=0 w3E06=1 w3E07=C0 w3800=10 w3800=60"},
      {9, "w3800=0 w3E06=7 w3E07=A0 w3800=10 w3800=60"}}},
    {{0x0030, 0x003B, 0x0130, 0x013B, 0x0300, 0x0410, 0x041B, 0x0500, 0x050B, 0x0510, 0x051B, 0x0A00,
      0x0A0B, 0x0A30, 0x0A3B, 0x0B10, 0x0B1B, 0x0B20, 0x0B2B, 0x0B50, 0x0B5B, 0x0E00, 0x0E60, 0x0E6B,
      0x0E70, 0x0E7B, 0x3130, 0x313B, 0x3200, 0x320B, 0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B},
     {{0, ""}, {2, ""}, {9, ""}}},
};

class GainTraffic : public SensorTest {
 protected:
  static bool set(int gain) { return ok(CameraSetGain(kCamera, gain)); }
  static bool set_advanced(int level) { return ok(CameraSetAdvancedGain(kCamera, level)); }
};

TEST_F(GainTraffic, ReachesEverySensor) {
  expect_complete(kGains);
  expect_traffic(kGains, set);
  expect_results(kGains, set);
}

TEST_F(GainTraffic, AdvancedGainReachesEverySensor) {
  expect_complete(kAdvanced);
  expect_traffic(kAdvanced, set_advanced);
  expect_results(kAdvanced, set_advanced);
}

TEST_F(GainTraffic, AdvancedGainKeepsTheOtherBitsOfItsRegister) {
  open(0x0120);
  preset_sensor(0x30B0, 0xFFDF);
  EXPECT_TRUE(set_advanced(1));
  EXPECT_EQ(camera().sensor_register(0x30B0), 0xFFDF);
  EXPECT_TRUE(set_advanced(0));
  EXPECT_EQ(camera().sensor_register(0x30B0), 0xFFCF);
  open(0x0180);
  preset_sensor(0x305E, 0xABCF);
  EXPECT_TRUE(set_advanced(200));
  EXPECT_EQ(camera().sensor_register(0x305E), 0xABCC);
}

TEST_F(GainTraffic, HighConversionLimitsTheAnalogueGain) {
  open(0x0650).parameter.advanced_gain = 1;
  EXPECT_TRUE(set(255));
  EXPECT_EQ(camera().sensor_register(0x3204), 224);
  EXPECT_TRUE(set(225));
  EXPECT_EQ(camera().sensor_register(0x3204), 224);
  EXPECT_TRUE(set(224));
  EXPECT_EQ(camera().sensor_register(0x3204), 223);
}

TEST_F(GainTraffic, Ranges) {
  open(0x0100);
  EXPECT_TRUE(set(77));
  EXPECT_EQ(get(CameraGetGain, kCamera), 77) << "stored without a gain register too";
  for (const int gain : {0, -1, 256}) {
    EXPECT_EQ(code_of([&] { return set(gain); }), KXCAM_ERROR_ARGUMENT) << gain;
  }
  EXPECT_EQ(get(CameraGetGain, kCamera), 77);
  EXPECT_TRUE(set_advanced(255));
  for (const int level : {-1, 256}) {
    EXPECT_EQ(code_of([&] { return set_advanced(level); }), KXCAM_ERROR_ARGUMENT) << level;
  }
  EXPECT_EQ(get(CameraGetAdvancedGain, kCamera), 255);
}

}  // namespace
}  // namespace kxcam::test
