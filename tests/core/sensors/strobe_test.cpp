// SPDX-License-Identifier: Apache-2.0

#include "device/vendor_request.h"
#include "sensor_test.h"

namespace kxcam::test {
namespace {

constexpr uint16_t kTriggerUnit = 0x1;

/// Sensors that drive their strobe themselves: what off and on send, and then polarities 0 and 1.
struct StrobeLine {
  std::vector<uint32_t> mids;
  uint16_t reg;
  uint16_t value;
  const char* off_and_on;
  const char* low_and_high;
};

const std::vector<StrobeLine> kLines = {
    {{0x0500, 0x050B}, 0x1E, 0x8138, "r1E w1E=8128 r1E w1E=8138", "r1E w1E=8118 r1E w1E=8138"},
    {{0x0130, 0x013B, 0x0300}, 0x1E, 0x8630, "r1E w1E=8030 r1E w1E=8630", "r1E w1E=8610 r1E w1E=8630"},
    {{0x0030, 0x003B}, 0x1B, 0x0012, "r1B w1B=13 r1B w1B=12", "r1B w1B=10 r1B w1B=12"},
    {{0x0120, 0x012B}, 0x3046, 0x0780, "r3046 w3046=680 r3046 w3046=780", "r3046 w3046=700 r3046 w3046=780"},
};

class StrobeTest : public SensorTest {
 protected:
  static bool off_and_on() {
    return ok(CameraEnableStrobe(kCamera, false)) && ok(CameraEnableStrobe(kCamera, true));
  }
  static bool low_and_high() {
    return ok(CameraSetStrobePolarity(kCamera, 0)) && ok(CameraSetStrobePolarity(kCamera, 1));
  }
};

TEST_F(StrobeTest, OfTheSensor) {
  for (const StrobeLine& line : kLines) {
    for (const uint32_t mid : line.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      open(mid, kTriggerUnit);
      preset_sensor(line.reg, line.value);
      EXPECT_TRUE(off_and_on());
      EXPECT_EQ(requests(), line.off_and_on);
      EXPECT_TRUE(low_and_high());
      EXPECT_EQ(requests(), line.low_and_high);

      break_requests(kxsim::kSensorWrite);
      EXPECT_TRUE(ok(CameraEnableStrobe(kCamera, false))) << "the write does not matter";
      EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 0), KXCAM_ERROR_WRITE_REQUEST);
      EXPECT_EQ(get(CameraGetStrobePolarity, kCamera), 0);
      break_requests(kxsim::kSensorRead);
      EXPECT_EQ(code_of(CameraEnableStrobe, kCamera, true), KXCAM_ERROR_NOT_SUPPORTED);
      bool on = true;
      EXPECT_TRUE(ok(CameraGetStrobe(kCamera, &on)));
      EXPECT_FALSE(on) << "the switch stays";
      EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 1), KXCAM_ERROR_NOT_SUPPORTED);
      EXPECT_EQ(get(CameraGetStrobePolarity, kCamera), 1);
      context().device.usb_handle.store(nullptr);
      EXPECT_EQ(code_of(CameraEnableStrobe, kCamera, true), KXCAM_ERROR_NO_DEVICE);
    }
  }
  for (const auto& [mode, sent] : {std::pair<uint8_t, const char*>(1, "wB=46 wB=46"), {2, "wB=144 wB=144"}}) {
    open(0x0E6B).parameter.snap_mode = mode;
    EXPECT_TRUE(off_and_on());
    EXPECT_EQ(requests(), sent);
  }
}

TEST_F(StrobeTest, OfTheTriggerUnit) {
  for (const uint32_t mid : {0x0100U, 0x0200U, 0x0600U, 0x0E60U, 0x0E7BU, 0x3130U}) {
    SCOPED_TRACE(testing::Message() << std::hex << mid);
    open(mid, kTriggerUnit);
    EXPECT_TRUE(off_and_on());
    EXPECT_EQ(requests(), "W4=0 W4=8001") << "polarity 1, the one after open";
    EXPECT_TRUE(ok(CameraSetStrobePolarity(kCamera, 0)));
    EXPECT_TRUE(off_and_on());
    EXPECT_TRUE(ok(CameraEnableStrobe(kCamera, false)));
    EXPECT_TRUE(ok(CameraSetStrobePolarity(kCamera, 1)));
    EXPECT_EQ(requests(), "W4=8000 W4=1 W4=8000 W4=1 W4=0");
    break_requests(kxsim::kIspWrite);
    EXPECT_TRUE(ok(CameraEnableStrobe(kCamera, true)));
    EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 0), KXCAM_ERROR_WRITE_REQUEST);

    open(mid);
    EXPECT_TRUE(off_and_on() && low_and_high());
    EXPECT_EQ(requests(), "") << "without a trigger unit there is no line";
  }
}

TEST_F(StrobeTest, TheSwitchIsKeptWithoutALineToo) {
  const struct {
    uint32_t mid;
    uint16_t features;
    bool line;
  } cameras[] = {{0x0E60, 0, true},  {0x0E6B, 0, true},  {0x0E70, 0, false}, {0x0120, 0, true},
                 {0x003B, 0, true},  {0x004B, 0, false}, {0x050B, 0, true},  {0x0510, 0, false},
                 {0x0130, 0, false}, {0x0300, 0, false}, {0x0600, 0, false}, {0x0600, 1, true}};
  for (const auto& expected : cameras) {
    SCOPED_TRACE(testing::Message() << std::hex << expected.mid);
    open(expected.mid, expected.features);
    bool on = false;
    EXPECT_EQ(ok(CameraGetStrobe(kCamera, &on)), expected.line);
    EXPECT_TRUE(on);
    EXPECT_TRUE(ok(CameraEnableStrobe(kCamera, false)));
    CameraGetStrobe(kCamera, &on);
    EXPECT_FALSE(on);
  }
  for (const int polarity : {-1, 2}) {
    EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, polarity), KXCAM_ERROR_ARGUMENT);
  }
}

}  // namespace
}  // namespace kxcam::test
