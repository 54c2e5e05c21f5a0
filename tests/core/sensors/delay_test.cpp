// SPDX-License-Identifier: Apache-2.0

#include <limits>

#include "sensor_test.h"

namespace kxcam::test {
namespace {

const TrafficTable kDelays = {
    {{0x0030, 0x003B}, {{12, "w6=39"}, {1000, "w6=415"}}},
    {{0x0130, 0x013B, 0x0300, 0x0500, 0x050B}, {{12, "w6=39"}, {1000, "w6=2E9"}}},
    {{0x0510, 0x051B}, {{12, "w300A=430"}, {1000, "w300A=80C"}}},
    {{0x0180, 0x018B}, {{12, "w300A=440"}, {1000, "w300A=81C"}}},
    {{0x0A00, 0x0A0B}, {{12, "w300A=45B"}, {1000, "w300A=837"}}},
    {{0x0E00}, {{12, "w300A=45E"}, {1000, "w300A=83A"}}},
    {{0x0410, 0x041B}, {{12, "w320E=6 w320F=86"}, {1000, "w320E=A w320F=62"}}},
    {{0x3130, 0x313B}, {{12, "w320E=2 w320F=1A"}, {1000, "w320E=5 w320F=F6"}}},
    {{0x0E60, 0x0E6B, 0x0E70, 0x0E7B}, {{12, "w4=F07C"}, {1000, "w4=F458"}}},
    {{0x0A30, 0x0A3B, 0x0B10, 0x0B1B}, {{12, "wC8=113C"}, {1000, "wC8=1518"}}},
    {{0x0120, 0x012B, 0x0200, 0x020B, 0x0400, 0x040B, 0x0B20, 0x0B2B, 0x0B50, 0x0B5B, 0x0600,
      0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B, 0x0710, 0x071B,
      0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B, 0x0DC0, 0x0DCB, 0x3200, 0x320B, 0x0860,
      0x086B, 0x0910, 0x091B, 0x0920, 0x092B, 0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B},
     {{12, ""}, {1000, ""}}},
};

class DelayTraffic : public SensorTest {
 protected:
  static bool set(int lines) { return ok(CameraSetDelay(kCamera, lines)); }
};

TEST_F(DelayTraffic, ReachesEverySensor) {
  expect_complete(kDelays);
  expect_traffic(kDelays, set);
  expect_results(kDelays, set);
}

TEST_F(DelayTraffic, TheFrameLengthFollowsTheReadout) {
  const struct {
    uint16_t width;
    uint16_t height;
    int lines;
  } readouts[] = {{2688, 1520, 2342}, {2560, 1520, 2230}, {2048, 1520, 1786}, {1920, 1520, 1786},
                  {2688, 1216, 1786}, {2688, 1200, 1658}, {1280, 720, 1658}};
  open(0x0410);
  for (const auto& readout : readouts) {
    context().stream.geometry = FrameGeometry{readout.width, readout.height, 1};
    EXPECT_TRUE(set(3));
    EXPECT_EQ(camera().sensor_register(0x320E) << 8 | camera().sensor_register(0x320F), readout.lines + 3)
        << readout.width << " x " << readout.height;
  }
  open(0x0A30).parameter.resolution_mode = 3;
  EXPECT_TRUE(set(3));
  EXPECT_EQ(requests(), "") << "here the frame follows the exposure";
}

TEST_F(DelayTraffic, IsReportedAsSet) {
  open(0x0300);
  EXPECT_TRUE(set(1000));
  EXPECT_EQ(camera().sensor_register(0x06), 745);
  EXPECT_EQ(get(CameraGetDelay, kCamera), 1000);
  EXPECT_TRUE(set(-5));
  EXPECT_EQ(get(CameraGetDelay, kCamera), 0);
  EXPECT_TRUE(set(std::numeric_limits<int>::max()));

  context().device.usb_handle.store(nullptr);
  EXPECT_EQ(code_of([] { return set(7); }), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(code_of(CameraGetDelay, kCamera), KXCAM_ERROR_NO_DEVICE);
}

}  // namespace
}  // namespace kxcam::test
