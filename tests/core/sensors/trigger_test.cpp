// SPDX-License-Identifier: Apache-2.0

#include "core/registry/camera_parameter.h"
#include "core/sensors/sensor_family.h"
#include "device/vendor_request.h"
#include "sensor_test.h"
#include "sync/clock.h"
#include "usb/control_channel.h"

namespace kxcam::test {
namespace {

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

class TriggerTest : public SensorTest {
 protected:
  void open_for(const Switch& expected, uint32_t mid) {
    open(mid).parameter.exposure = 1000;
    if (expected.reg != 0) preset_sensor(expected.reg, expected.value);
  }
};

TEST_F(TriggerTest, EverySensorIsSwitchedAndBack) {
  size_t sensors = std::size(kUntriggerable);
  for (const Switch& expected : kSwitches) {
    for (const uint32_t mid : expected.mids) {
      SCOPED_TRACE(testing::Message() << std::hex << mid);
      ++sensors;
      open_for(expected, mid);
      EXPECT_TRUE(ok(CameraSetSnapMode(kCamera, 2)));
      EXPECT_EQ(requests(), expected.to_trigger);
      EXPECT_EQ(get(CameraGetSnapMode, kCamera), 2);
      EXPECT_TRUE(ok(CameraSetSnapMode(kCamera, 1)));
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
    open_for(expected, mid);
    break_requests(kxsim::kSensorRead);
    break_requests(kxsim::kSensorWrite);
    const bool reads = sent.starts_with('r');
    EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), reads ? KXCAM_ERROR_NOT_SUPPORTED : 0);
    EXPECT_EQ(get(CameraGetSnapMode, kCamera), reads ? 1 : 2);

    open_for(expected, mid);
    break_requests(kxsim::kTriggerMode);
    const bool asks_bridge = sent.find("B4") != std::string::npos;
    const bool answer_ignored = sent.starts_with("B4") && mid != 0x0E00;
    const bool fails = asks_bridge && !answer_ignored;
    EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), fails ? KXCAM_ERROR_READ_REQUEST : 0);
    EXPECT_EQ(get(CameraGetSnapMode, kCamera), fails ? 1 : 2);
  }
}

TEST_F(TriggerTest, WhatIsNotNeededIsNotSent) {
  open(0x0500);
  EXPECT_TRUE(ok(CameraSetSnapMode(kCamera, 0)));
  EXPECT_EQ(requests(), "r1E") << "it never waited for a trigger";
  open(0x0600).parameter.snap_mode = 2;
  EXPECT_TRUE(ok(CameraSetSnapMode(kCamera, 2)));
  EXPECT_EQ(requests(), "B4=1") << "no restart without a change";
  open(0x0920).parameter.isp_flags = kGlobalResetOff;
  EXPECT_TRUE(ok(CameraSetSnapMode(kCamera, 2)));
  EXPECT_EQ(requests(), "B4=1");
  open(0x3130).parameter.exposure = 520;
  EXPECT_TRUE(ok(CameraSetSnapMode(kCamera, 2)));
  EXPECT_EQ(requests(), "w3234=B0 B4=1 g8=8");
}

TEST_F(TriggerTest, ShotsNeedTriggerMode) {
  for (const uint32_t mid : kUntriggerable) {
    open(mid);
    EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 2), KXCAM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(code_of(CameraTriggerShot, kCamera), KXCAM_ERROR_ARGUMENT);
    context().parameter.snap_mode = 2;
    EXPECT_EQ(code_of(CameraTriggerShot, kCamera), KXCAM_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(requests(), "");
  }
  for (const auto& [mid, wait_ms] : {std::pair(0x0030, 1), {0x3130, 2}, {0x0920, 2}, {0x0500, 0}}) {
    open(static_cast<uint32_t>(mid)).parameter.snap_mode = 2;
    const uint64_t begin = GetTickCount();
    EXPECT_TRUE(ok(CameraTriggerShot(kCamera)));
    EXPECT_GE(GetTickCount() - begin + 1, static_cast<uint64_t>(wait_ms));
    EXPECT_EQ(context().family.trigger_wait_ms, wait_ms) << std::hex << mid;
    EXPECT_EQ(requests(), "g8=8");
  }
  context().device.usb_handle.store(nullptr);
  EXPECT_EQ(code_of(CameraTriggerShot, kCamera), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(code_of(CameraSetSnapMode, kCamera, 1), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(TriggerTest, AShotDropsTheFramesThatWait) {
  open(0x0500).parameter.snap_mode = 2;
  context().stream.ring = std::make_unique<FrameRing>(16);
  const FrameGeometry geometry = context().stream.geometry;
  const std::atomic<bool> running = true;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(context().stream.ring->wait_for_free_buffer(running), i);
    context().stream.ring->mark_ready(i, geometry);
  }
  EXPECT_TRUE(ok(CameraTriggerShot(kCamera)));
  EXPECT_EQ(context().stream.ring->take(geometry, 0, {context().stream.geometry, running}), std::nullopt);
  context().stream.ring->mark_ready(3, geometry);
  EXPECT_EQ(context().stream.ring->take(geometry, 0, {context().stream.geometry, running}), 3);
}

TEST_F(TriggerTest, PicturesPerTrigger) {
  open(0x0600);
  EXPECT_TRUE(ok(CameraSetSnapNum(kCamera, 0)));
  EXPECT_EQ(get(CameraGetSnapNum, kCamera), 1);
  EXPECT_TRUE(ok(CameraSetSnapNum(kCamera, 65535)));
  EXPECT_EQ(requests(), "W5=1 W5=FFFF");
  for (const int count : {-1, 65536}) {
    EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, count), KXCAM_ERROR_ARGUMENT);
  }
  EXPECT_EQ(get(CameraGetSnapNum, kCamera), 65535);
  break_requests(kxsim::kIspWrite);
  EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, 3), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(get(CameraGetSnapNum, kCamera), 3);

  for (const uint32_t mid : {0x0A30, 0x0B1B, 0x0B20, 0x0B5B}) {
    open(mid);
    EXPECT_TRUE(ok(CameraSetSnapNum(kCamera, 7)));
    EXPECT_EQ(requests(), "B5=7");
    break_requests(kxsim::kLineSettings);
    EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, 8), KXCAM_ERROR_READ_REQUEST);
  }
  context().device.usb_handle.store(nullptr);
  EXPECT_EQ(code_of(CameraSetSnapNum, kCamera, 9), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(get(CameraGetSnapNum, kCamera), 8);
}

TEST_F(TriggerTest, TriggerPolarity) {
  open(0x0600);
  bool polarity = true;
  for (const auto& [value, reported] : {std::pair(0x102, false), {0, false}, {1, true}}) {
    EXPECT_TRUE(ok(CameraSetTriggerPolarity(kCamera, value)));
    EXPECT_TRUE(ok(CameraGetTriggerPolarity(kCamera, &polarity)));
    EXPECT_EQ(polarity, reported) << value;
  }
  EXPECT_EQ(requests(), "W3=2 W3=0 W3=1");
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
  open(0x0600, 0x1);
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
    EXPECT_TRUE(ok(time.set(kCamera, 39)));
    EXPECT_EQ(camera().isp_register(time.reg), 39 / time.divisor) << time.reg;
  }
  vacate_slot(0);
}

TEST_F(TriggerTest, WithoutAUnitTheTimesAreStoredOnly) {
  open(0x0600);
  for (const UnitTime& time : kUnitTimes) {
    EXPECT_TRUE(ok(time.set(kCamera, 25)));
    EXPECT_EQ(code_of(time.get, kCamera), KXCAM_ERROR_NOT_SUPPORTED);
  }
  EXPECT_EQ(requests(), "");
}

}  // namespace
}  // namespace kxcam::test
