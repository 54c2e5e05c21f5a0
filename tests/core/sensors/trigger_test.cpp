// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_ring.h"
#include "core/registry/contexts.h"
#include "sensor_test.h"
#include "sync/clock.h"

// Trigger, strobe and the bridge's trigger unit.

namespace kxcam::test {
namespace {

constexpr uint16_t kTriggerUnitFeature = 0x1;

/// What the switch into trigger mode and back sends, from registers as given.
struct Switch {
  std::vector<uint32_t> mids;
  uint16_t reg;
  uint16_t value;
  const char* to_trigger;
  const char* to_free_run;
};

const std::vector<Switch> kSwitches = {
    {{0x0500, 0x050B, 0x0130, 0x013B, 0x0300}, 0x1E, 0x8000, "r1E w1E=8100", "r1E w1E=8000 wB=1"},
    {{0x0030, 0x003B}, 0x07, 0x0388, "r7 w7=398", "r7 w7=388"},
    {{0x0200, 0x020B}, 0x301A, 0x10DC, "r301A w301A=10D8", "r301A w301A=11DC"},
    {{0x0400, 0x040B, 0x0410, 0x041B}, 0, 0, "w3222=3 g8=8", "w3222=1 g8=8"},
    {{0x0A00, 0x0A0B, 0x0180, 0x018B, 0x0510, 0x051B},
     0x301A,
     0x10DC,
     "r301A w301A=10D8 B4=1",
     "r301A w301A=10DC B4=0"},
    {{0x0E00}, 0, 0, "B4=1", "B4=0"},
    {{0x0120, 0x012B}, 0, 0, "w301A=1D8", "w301A=1DC"},
    {{0x0E60, 0x0E6B, 0x0E70, 0x0E7B}, 0, 0, "wB=104", "wB=6"},
    {{0x3130, 0x313B}, 0, 0, "w3E01=20 w3E02=80 w3234=B0 B4=1 g8=8", "w3234=30 B4=0 g8=8"},
    {{0x0A30, 0x0A3B, 0x0B20, 0x0B2B, 0x0B10, 0x0B1B, 0x0B50, 0x0B5B},
     0xC0,
     0x0081,
     "rC0 wC0=91 B4=1",
     "rC0 wC0=81 B4=0"},
    {{0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0680, 0x068B,
      0x0710, 0x071B, 0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B, 0x0DC0, 0x0DCB},
     0,
     0,
     "B4=1 W1=1",
     "B4=0"},
    {{0x3200, 0x320B, 0x0860, 0x086B, 0x0910, 0x091B}, 0, 0, "B4=1", "B4=0"},
    {{0x0920, 0x092B}, 0, 0, "B4=1 w8=1", "B4=0 w8=1"},
};

constexpr uint32_t kUntriggerable[] = {0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B};

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

class TriggerTest : public SensorTest {
 protected:
  void open_for(const Switch& expected, uint32_t mid) {
    open(mid).parameter.exposure = 1000;
    if (expected.reg != 0) preset_sensor(expected.reg, expected.value);
  }
  void open_triggered(uint32_t mid) { open(mid).parameter.snap_mode = 2; }
  static bool strobe_off_and_on() {
    return ok(CameraEnableStrobe(kCamera, false)) && ok(CameraEnableStrobe(kCamera, true));
  }
  static bool polarity_low_and_high() {
    return ok(CameraSetStrobePolarity(kCamera, 0)) && ok(CameraSetStrobePolarity(kCamera, 1));
  }
};

TEST_F(TriggerTest, EverySensorIsSwitchedAndBack) {
  size_t sensors = std::size(kUntriggerable);
  for (const Switch& expected : kSwitches) {
    for (const uint32_t mid : expected.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      ++sensors;
      open_for(expected, mid);
      EXPECT_EQ(CameraSetSnapMode(kCamera, 2), 0U);
      EXPECT_EQ(requests(), expected.to_trigger);
      EXPECT_EQ(get(CameraGetSnapMode, kCamera), 2);
      EXPECT_EQ(CameraSetSnapMode(kCamera, 1), 0U);
      EXPECT_EQ(requests(), expected.to_free_run);
      EXPECT_EQ(get(CameraGetSnapMode, kCamera), 1);
    }
  }
  EXPECT_EQ(sensors, 70U) << "sensor ids of the model table";
}

TEST_F(TriggerTest, WithoutTheSensorsOrTheBridgesAnswerTheModeStays) {
  for (const Switch& expected : kSwitches) {
    const uint32_t mid = expected.mids.front();
    SCOPED_TRACE(testing::Message() << std::hex << mid);
    const std::string sent = expected.to_trigger;
    const auto expect_switch = [](int error) {
      EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), error);
      EXPECT_EQ(get(CameraGetSnapMode, kCamera), error != 0 ? 1 : 2);
    };
    open_for(expected, mid);
    break_requests(kxsim::kSensorRead);
    break_requests(kxsim::kSensorWrite);
    expect_switch(sent.starts_with('r') ? KXCAM_ERROR_NOT_SUPPORTED : 0);

    open_for(expected, mid);
    break_requests(kxsim::kTriggerMode);
    const bool answer_ignored = sent.starts_with("B4") && mid != 0x0E00;
    expect_switch(sent.find("B4") != std::string::npos && !answer_ignored ? KXCAM_ERROR_READ_REQUEST : 0);
  }
}

TEST_F(TriggerTest, WhatIsNotNeededIsNotSent) {
  const auto sent_for = [&](int mode) {
    EXPECT_EQ(CameraSetSnapMode(kCamera, mode), 0U);
    return requests();
  };
  open(0x0500);
  EXPECT_EQ(sent_for(0), "r1E") << "it never waited for a trigger";
  open_triggered(0x0600);
  EXPECT_EQ(sent_for(2), "B4=1") << "no restart without a change";
  open(0x0920, 0x4);
  EXPECT_EQ(CameraSetGlobalReset(kCamera, false), 0U);
  forget_requests();
  EXPECT_EQ(sent_for(2), "B4=1");
  open(0x3130).parameter.exposure = 520;
  EXPECT_EQ(sent_for(2), "w3234=B0 B4=1 g8=8");
}

TEST_F(TriggerTest, ShotsNeedTriggerMode) {
  for (const uint32_t mid : kUntriggerable) {
    open(mid);
    EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), KXCAM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(code_of(CameraTriggerShot, kCamera), KXCAM_ERROR_ARGUMENT);
    open_triggered(mid);
    EXPECT_EQ(code_of(CameraTriggerShot, kCamera), KXCAM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(requests(), "");
  }
  for (const auto& [mid, wait_ms] : {std::pair(0x0030U, 1U), {0x3130, 2}, {0x0920, 2}, {0x0500, 0}}) {
    open_triggered(mid);
    const uint64_t begin = GetTickCount();
    EXPECT_EQ(CameraTriggerShot(kCamera), 0U);
    EXPECT_GE(GetTickCount() - begin + 1, wait_ms) << std::hex << mid;
    EXPECT_EQ(requests(), "g8=8");
  }
  lose_device();
  EXPECT_EQ(code_of(CameraTriggerShot, kCamera), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 1), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(TriggerTest, ShotsAndSwitchesDropTheFramesThatWait) {
  const auto fill_ring = [&](int first, int count) {
    const std::atomic<bool> running = true;
    for (int i = first; i < first + count; ++i) {
      ASSERT_EQ(context().stream.ring->wait_for_free_buffer(running), i);
      context().stream.ring->mark_ready(i, context().stream.geometry);
    }
    EXPECT_EQ(context().stream.ring->waiting(), count);
  };
  open_triggered(0x0500);
  context().stream.ring = std::make_unique<FrameRing>(16);
  fill_ring(0, 3);
  EXPECT_EQ(CameraTriggerShot(kCamera), 0U);
  EXPECT_EQ(context().stream.ring->waiting(), 0);
  fill_ring(3, 2);
  EXPECT_EQ(CameraSetSnapMode(kCamera, 1), 0U);
  EXPECT_EQ(context().stream.ring->waiting(), 0);
}

TEST_F(TriggerTest, PicturesPerTriggerAndPolarity) {
  open(0x0600);
  for (const auto& [count, kept] : {std::pair(0, 1), {65535, 65535}}) {
    EXPECT_EQ(CameraSetSnapNum(kCamera, count), 0U);
    EXPECT_EQ(get(CameraGetSnapNum, kCamera), kept);
  }
  EXPECT_EQ(requests(), "W5=1 W5=FFFF");
  for (const int count : {-1, 65536})
    EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, count), KXCAM_ERROR_ARGUMENT);
  for (const auto& [value, reported] : {std::pair{0x102, false}, {0, false}, {1, true}}) {
    EXPECT_EQ(CameraSetTriggerPolarity(kCamera, value), 0U);
    EXPECT_EQ(get(CameraGetTriggerPolarity, kCamera), reported);
  }
  EXPECT_EQ(requests(), "W3=2 W3=0 W3=1");
  break_requests(kxsim::kIspWrite);
  EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, 3), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(get(CameraGetSnapNum, kCamera), 3);

  for (const uint32_t mid : {0x0A30, 0x0B1B, 0x0B20, 0x0B5B}) {
    open(mid);
    EXPECT_EQ(CameraSetSnapNum(kCamera, 7), 0U);
    EXPECT_EQ(requests(), "B5=7");
    break_requests(kxsim::kLineSettings);
    EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, 8), KXCAM_ERROR_READ_REQUEST);
  }
  lose_device();
  EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, 9), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(get(CameraGetSnapNum, kCamera), 8);
}

struct UnitTime {
  uint32_t (*set)(int, int);
  uint32_t (*get)(int, int*);
  uint16_t reg;
  int divisor;
};
constexpr UnitTime kUnitTimes[] = {{CameraSetTriggerDelay, CameraGetTriggerDelay, 12, 10},
                                   {CameraSetStrobeDelay, CameraGetStrobeDelay, 13, 10},
                                   {CameraSetStrobeDuration, CameraGetStrobeDuration, 14, 10},
                                   {CameraSetDebouncerTime, CameraGetDebouncerTime, 6, 1}};

TEST_F(TriggerTest, UnitTimesAreKeptHereAndSentToCameraZero) {
  open(0x0600, kTriggerUnitFeature);
  for (const UnitTime& time : kUnitTimes) {
    EXPECT_EQ(code_of(time.set, kCamera, 25), KXCAM_ERROR_NOT_OPEN) << "nothing is camera 0";
    EXPECT_EQ(get(time.get, kCamera), 25) << "stored all the same";
    EXPECT_EQ(code_of(time.set, kCamera, -1), KXCAM_ERROR_ARGUMENT);
    EXPECT_EQ(get(time.get, kCamera), 25);
  }
  EXPECT_EQ(requests(), "");
  // The same camera as number 0 as well: what arrives there came by that number.
  ASSERT_TRUE(occupy_slot(0, context_at(kCamera)));
  for (const UnitTime& time : kUnitTimes) {
    EXPECT_EQ(time.set(kCamera, 39), 0U);
    EXPECT_EQ(camera().isp_register(time.reg), 39 / time.divisor) << time.reg;
  }
  vacate_slot(0);
  open(0x0600);
  for (const UnitTime& time : kUnitTimes) {
    EXPECT_EQ(time.set(kCamera, 25), 0U) << "stored only";
    EXPECT_EQ(code_of(time.get, kCamera), KXCAM_ERROR_NOT_SUPPORTED);
  }
  EXPECT_EQ(requests(), "");
}

TEST_F(TriggerTest, StrobeOfTheSensor) {
  for (const StrobeLine& line : kLines) {
    for (const uint32_t mid : line.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      open(mid, kTriggerUnitFeature);
      preset_sensor(line.reg, line.value);
      EXPECT_TRUE(strobe_off_and_on());
      EXPECT_EQ(requests(), line.off_and_on);
      EXPECT_TRUE(polarity_low_and_high());
      EXPECT_EQ(requests(), line.low_and_high);

      break_requests(kxsim::kSensorWrite);
      EXPECT_EQ(CameraEnableStrobe(kCamera, false), 0U) << "the write does not matter";
      EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 0), KXCAM_ERROR_WRITE_REQUEST);
      EXPECT_EQ(get(CameraGetStrobePolarity, kCamera), 0);
      break_requests(kxsim::kSensorRead);
      EXPECT_EQ(code_of(CameraEnableStrobe, kCamera, true), KXCAM_ERROR_NOT_SUPPORTED);
      EXPECT_FALSE(get(CameraGetStrobe, kCamera)) << "the switch stays";
      EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 1), KXCAM_ERROR_NOT_SUPPORTED);
      EXPECT_EQ(get(CameraGetStrobePolarity, kCamera), 1);
      lose_device();
      EXPECT_EQ(code_of(CameraEnableStrobe, kCamera, true), KXCAM_ERROR_NO_DEVICE);
    }
  }
  for (const auto& [mode, sent] : {std::pair<uint8_t, const char*>(1, "wB=46 wB=46"), {2, "wB=144 wB=144"}}) {
    open(0x0E6B).parameter.snap_mode = mode;
    EXPECT_TRUE(strobe_off_and_on());
    EXPECT_EQ(requests(), sent);
  }
}

TEST_F(TriggerTest, StrobeOfTheTriggerUnit) {
  for (const uint32_t mid : {0x0100U, 0x0200U, 0x0600U, 0x0E60U, 0x0E7BU, 0x3130U}) {
    SCOPED_TRACE(testing::Message() << std::hex << mid);
    open(mid, kTriggerUnitFeature);
    EXPECT_TRUE(strobe_off_and_on());
    EXPECT_EQ(requests(), "W4=0 W4=8001") << "polarity 1, the one after open";
    EXPECT_TRUE(ok(CameraSetStrobePolarity(kCamera, 0)) && strobe_off_and_on());
    EXPECT_TRUE(ok(CameraEnableStrobe(kCamera, false)) && ok(CameraSetStrobePolarity(kCamera, 1)));
    EXPECT_EQ(requests(), "W4=8000 W4=1 W4=8000 W4=1 W4=0");
    break_requests(kxsim::kIspWrite);
    EXPECT_EQ(CameraEnableStrobe(kCamera, true), 0U);
    EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 0), KXCAM_ERROR_WRITE_REQUEST);

    open(mid);
    EXPECT_TRUE(strobe_off_and_on() && polarity_low_and_high());
    EXPECT_EQ(requests(), "") << "without a trigger unit there is no line";
  }
  for (const int polarity : {-1, 2})
    EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, polarity), KXCAM_ERROR_ARGUMENT);
}

TEST_F(TriggerTest, TheStrobeSwitchIsKeptWithoutALineToo) {
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
    EXPECT_EQ(CameraGetStrobe(kCamera, &on), expected.line ? 0U : 1U);
    EXPECT_TRUE(on);
    EXPECT_EQ(CameraEnableStrobe(kCamera, false), 0U);
    CameraGetStrobe(kCamera, &on);
    EXPECT_FALSE(on);
  }
}

}  // namespace
}  // namespace kxcam::test
