// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_ring.h"
#include "core/registry/contexts.h"
#include "sensor_test.h"
#include "sync/clock.h"

// Trigger, strobe and the bridge's trigger unit.

namespace kxcam::test {
namespace {

constexpr uint16_t kTriggerUnitFeature = 0x1;

constexpr uint32_t kUntriggerable[] = {0x0100, 0x004B, 0x0010, 0x001B, 0x0320, 0x032B};

class TriggerTest : public SensorTest {
 protected:
  void open_for(const Traffic& traffic, uint32_t mid, uint16_t features = 0) {
    open(mid, features).parameter.exposure = 1000;
    for (const auto& [reg, value] : traffic.registers) preset_sensor(reg, value);
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
  expect_complete("trigger mode");
  for (const Traffic& traffic : traffic_of("trigger mode")) {
    for (const uint32_t mid : traffic.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      open_for(traffic, mid);
      for (const Traffic::Case& mode : traffic.cases) {
        EXPECT_EQ(CameraSetSnapMode(kCamera, mode.argument), 0U);
        EXPECT_EQ(requests(), mode.requests);
        EXPECT_EQ(get(CameraGetSnapMode, kCamera), mode.argument);
      }
      if (traffic.cases.empty()) {
        EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), KXCAM_ERROR_NOT_SUPPORTED);
      }
    }
  }
}

TEST_F(TriggerTest, WithoutTheSensorsOrTheBridgesAnswerTheModeStays) {
  for (const Traffic& traffic : traffic_of("trigger mode")) {
    if (traffic.cases.empty()) continue;
    const uint32_t mid = traffic.mids.front();
    SCOPED_TRACE(testing::Message() << std::hex << mid);
    const std::string sent = traffic.cases.front().requests;
    const auto expect_switch = [](int error) {
      EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), error);
      EXPECT_EQ(get(CameraGetSnapMode, kCamera), error != 0 ? 1 : 2);
    };
    open_for(traffic, mid);
    break_requests(kxsim::kSensorRead);
    break_requests(kxsim::kSensorWrite);
    expect_switch(sent.starts_with('r') ? KXCAM_ERROR_NOT_SUPPORTED : 0);

    open_for(traffic, mid);
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
    for (int i = first; i < first + count; ++i) {
      ASSERT_EQ(context().stream.ring->wait_for_free_buffer(), i);
      context().stream.ring->mark_ready(i, context().stream.geometry);
    }
    EXPECT_EQ(context().stream.ring->waiting(), count);
  };
  open_triggered(0x0500);
  StreamPart& stream = context().stream;
  stream.ring = std::make_unique<FrameRing>(16, FrameRing::Acquisition{stream.geometry, stream.running});
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
  for (const Traffic& traffic : traffic_of("strobe")) {
    for (const uint32_t mid : traffic.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      open_for(traffic, mid, kTriggerUnitFeature);
      for (const Traffic::Case& expected : traffic.cases) {
        EXPECT_EQ(CameraEnableStrobe(kCamera, expected.argument != 0), 0U);
        EXPECT_EQ(requests(), expected.requests);
      }
      break_requests(kxsim::kSensorWrite);
      EXPECT_EQ(CameraEnableStrobe(kCamera, false), 0U) << "the write does not matter";
      break_requests(kxsim::kSensorRead);
      EXPECT_EQ(code_of(CameraEnableStrobe, kCamera, true), KXCAM_ERROR_NOT_SUPPORTED);
      EXPECT_FALSE(get(CameraGetStrobe, kCamera)) << "the switch stays";
      lose_device();
      EXPECT_EQ(code_of(CameraEnableStrobe, kCamera, true), KXCAM_ERROR_NO_DEVICE);
    }
  }
  for (const Traffic& traffic : traffic_of("strobe polarity")) {
    for (const uint32_t mid : traffic.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      open_for(traffic, mid, kTriggerUnitFeature);
      for (const Traffic::Case& expected : traffic.cases) {
        EXPECT_EQ(CameraSetStrobePolarity(kCamera, expected.argument), 0U);
        EXPECT_EQ(requests(), expected.requests);
      }
      break_requests(kxsim::kSensorWrite);
      EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 0), KXCAM_ERROR_WRITE_REQUEST);
      EXPECT_EQ(get(CameraGetStrobePolarity, kCamera), 0);
      break_requests(kxsim::kSensorRead);
      EXPECT_EQ(code_of(CameraSetStrobePolarity, kCamera, 1), KXCAM_ERROR_NOT_SUPPORTED);
      EXPECT_EQ(get(CameraGetStrobePolarity, kCamera), 1);
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
