// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>
#include <utility>

#include "core/control/exposure.h"
#include "core/registry/model_table.h"
#include "sensor_test.h"

// The duration of a line, high-speed readout, frame rate and global reset.

namespace kxcam::test {
namespace {

/// Timing of a camera that reads out 1280 x 960 pixels.
struct Timing {
  uint32_t pid;
  bool super_speed = true;
  bool high_speed = false;
  uint8_t mode = 1;
  int exposure = 5;
  int firmware = 0x8312;
  std::vector<std::pair<uint16_t, uint16_t>> registers = {};
  int extra_width;
  double unit;
  int at_50_hz;
  int at_60_hz;
};

// clang-format off
const std::vector<Timing> kTimings = {
    {.pid = 0x3030, .registers = {{0x05, 0x005E}}, .extra_width = 94, .unit = 0.025444444444444447, .at_50_hz = 393, .at_60_hz = 327},
    {.pid = 0x3030, .super_speed = false, .registers = {{0x05, 0x005E}}, .extra_width = 94, .unit = 0.05088888888888889, .at_50_hz = 196, .at_60_hz = 163},
    {.pid = 0x003B, .super_speed = false, .firmware = 0x4805, .registers = {{0x05, 0x005E}}, .extra_width = 94, .unit = 0.028625, .at_50_hz = 349, .at_60_hz = 291},
    {.pid = 0x0030, .super_speed = false, .firmware = 0x4607, .registers = {{0x05, 0x005E}}, .extra_width = 94, .unit = 0.05088888888888889, .at_50_hz = 196, .at_60_hz = 163},
    {.pid = 0x0030, .super_speed = false, .firmware = 0x4606, .registers = {{0x05, 0x005E}}, .extra_width = 94, .unit = 0.05725, .at_50_hz = 174, .at_60_hz = 145},
    {.pid = 0x0300, .registers = {{0x05, 0x005E}}, .extra_width = 463, .unit = 0.07262500000000001, .at_50_hz = 137, .at_60_hz = 114},
    {.pid = 0x0300, .high_speed = true, .registers = {{0x05, 0x005E}}, .extra_width = 463, .unit = 0.036312500000000004, .at_50_hz = 275, .at_60_hz = 229},
    {.pid = 0x013B, .high_speed = true, .registers = {{0x05, 0x005E}}, .extra_width = 319, .unit = 0.0333125, .at_50_hz = 300, .at_60_hz = 250},
    {.pid = 0x0130, .registers = {{0x05, 0x005E}}, .extra_width = 319, .unit = 0.066625, .at_50_hz = 150, .at_60_hz = 125},
    {.pid = 0x0500, .extra_width = 894, .unit = 0.09058333333333334, .at_50_hz = 110, .at_60_hz = 91},
    {.pid = 0x050B, .high_speed = true, .mode = 2, .extra_width = 1506, .unit = 0.058041666666666665, .at_50_hz = 172, .at_60_hz = 143},
    {.pid = 0x3500, .extra_width = 894, .unit = 0.022645833333333334, .at_50_hz = 441, .at_60_hz = 367},
    {.pid = 0x350B, .super_speed = false, .high_speed = true, .extra_width = 894, .unit = 0.04529166666666667, .at_50_hz = 220, .at_60_hz = 183},
    {.pid = 0x3180, .registers = {{0x300C, 0x0BB8}}, .extra_width = 220, .unit = 0.008333333333333333, .at_50_hz = 1200, .at_60_hz = 1000},
    {.pid = 0x0A00, .registers = {{0x300C, 0x0BB8}}, .extra_width = 220, .unit = 0.0625, .at_50_hz = 160, .at_60_hz = 133},
    {.pid = 0x0A0B, .high_speed = true, .registers = {{0x300C, 0x0BB8}}, .extra_width = 220, .unit = 0.03515622253420115, .at_50_hz = 284, .at_60_hz = 237},
    {.pid = 0x3A00, .registers = {{0x300C, 0x0BB8}}, .extra_width = 220, .unit = 0.01875, .at_50_hz = 533, .at_60_hz = 444},
    {.pid = 0x3A0B, .super_speed = false, .high_speed = true, .registers = {{0x300C, 0x0BB8}}, .extra_width = 220, .unit = 0.0375, .at_50_hz = 266, .at_60_hz = 222},
    {.pid = 0x0E00, .high_speed = true, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.0625, .at_50_hz = 160, .at_60_hz = 133},
    {.pid = 0x3E00, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.03488372093023256, .at_50_hz = 286, .at_60_hz = 238},
    {.pid = 0x3E00, .super_speed = false, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.06976744186046512, .at_50_hz = 143, .at_60_hz = 119},
    {.pid = 0x0120, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.125, .at_50_hz = 80, .at_60_hz = 66},
    {.pid = 0x012B, .high_speed = true, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.0625, .at_50_hz = 160, .at_60_hz = 133},
    {.pid = 0x3120, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.03, .at_50_hz = 333, .at_60_hz = 277},
    {.pid = 0x312B, .super_speed = false, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.06, .at_50_hz = 166, .at_60_hz = 138},
    {.pid = 0x0200, .high_speed = true, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.0625, .at_50_hz = 160, .at_60_hz = 133},
    {.pid = 0x3510, .registers = {{0x300C, 0x0BB8}}, .extra_width = 1720, .unit = 0.015000000000000001, .at_50_hz = 666, .at_60_hz = 555},
    {.pid = 0x3E60, .registers = {{0x04, 0x0064}}, .extra_width = 320, .unit = 0.014035087719298246, .at_50_hz = 712, .at_60_hz = 593},
    {.pid = 0x3E6B, .super_speed = false, .registers = {{0x04, 0x0064}}, .extra_width = 320, .unit = 0.056140350877192984, .at_50_hz = 178, .at_60_hz = 148},
    {.pid = 0x3E70, .registers = {{0x04, 0x0064}}, .extra_width = 320, .unit = 0.012121212121212121, .at_50_hz = 825, .at_60_hz = 687},
    {.pid = 0x3E7B, .super_speed = false, .registers = {{0x04, 0x0064}}, .extra_width = 320, .unit = 0.047058823529411764, .at_50_hz = 212, .at_60_hz = 177},
    {.pid = 0x3200, .extra_width = 0, .unit = 0.007384960718294052, .at_50_hz = 677, .at_60_hz = 564},
    {.pid = 0x3860, .exposure = 1, .extra_width = 0, .unit = 0.010578703703703703, .at_50_hz = 472, .at_60_hz = 393},
    {.pid = 0x3860, .exposure = 50, .extra_width = 0, .unit = 0.007833796296296297, .at_50_hz = 639, .at_60_hz = 532},
    {.pid = 0x391B, .exposure = 1, .extra_width = 0, .unit = 0.012208333333333335, .at_50_hz = 409, .at_60_hz = 341},
    {.pid = 0x391B, .exposure = 50, .extra_width = 0, .unit = 0.010180277777777778, .at_50_hz = 491, .at_60_hz = 409},
    {.pid = 0x3920, .exposure = 1, .extra_width = 0, .unit = 0.014680555555555556, .at_50_hz = 340, .at_60_hz = 283},
    {.pid = 0x3920, .exposure = 50, .extra_width = 0, .unit = 0.01254361111111111, .at_50_hz = 398, .at_60_hz = 332},
    {.pid = 0x3650, .extra_width = 0, .unit = 0.01, .at_50_hz = 1000, .at_60_hz = 833},
    {.pid = 0x3C80, .extra_width = 0, .unit = 0.01, .at_50_hz = 1000, .at_60_hz = 833},
    {.pid = 0x3A30, .extra_width = 0, .unit = 0.001, .at_50_hz = 10000, .at_60_hz = 8333},
    {.pid = 0x3130, .registers = {{0x320C, 0x0003}, {0x320D, 0x0021}}, .extra_width = 0, .unit = 0.016, .at_50_hz = 625, .at_60_hz = 520},
    {.pid = 0x3DC0, .registers = {{0x20, 0x0012}, {0x21, 0x0034}}, .extra_width = 0, .unit = 0.048541666666666664, .at_50_hz = 206, .at_60_hz = 171},
    {.pid = 0x040B, .registers = {{0x320C, 0x0003}, {0x320D, 0x0021}}, .extra_width = 0, .unit = 0.013185185185185185, .at_50_hz = 758, .at_60_hz = 632},
    {.pid = 0x0410, .registers = {{0x320C, 0x0003}, {0x320D, 0x0021}, {0x36EA, 0x0015}}, .extra_width = 0, .unit = 0.004746666666666666, .at_50_hz = 2106, .at_60_hz = 1755},
};
// clang-format on

class TimingTest : public SensorTest {
 protected:
  void open_at(const Timing& timing) {
    CameraContext& camera = open_model(timing.pid);
    for (const auto& [reg, value] : timing.registers) preset_sensor(reg, value);
    camera.device.firmware_version = timing.firmware;
    camera.device.usb_speed = timing.super_speed ? 3 : 2;
    camera.parameter.isp_flags = timing.high_speed ? kHighSpeed : 0;
    camera.parameter.resolution_mode = timing.mode;
    camera.parameter.exposure = timing.exposure;
  }
  int count(int width = 0, int height = 0) { return set_exposure_width(context(), width, height); }
  static double unit() { return get(CameraGetExposureUnit, kCamera); }
  int flicker_lines() { return context().sensor.flicker_lines; }
  /// A timing that stays where it is not counted anew.
  void pretend_timing() {
    context().sensor.line_time_ms = 0.5;
    context().sensor.flicker_lines = 20;
  }
};

TEST_F(TimingTest, LinesOfEverySensor) {
  for (const Timing& timing : kTimings) {
    SCOPED_TRACE(testing::Message() << std::hex << timing.pid);
    open_at(timing);
    EXPECT_EQ(count(), timing.extra_width);
    EXPECT_DOUBLE_EQ(unit(), timing.unit);
    EXPECT_EQ(flicker_lines(), timing.at_50_hz);
    EXPECT_DOUBLE_EQ(get(CameraGetExposureTime, kCamera), timing.exposure * timing.unit);
    EXPECT_EQ(CameraSetAntiFlicker(kCamera, 2), 0U);
    EXPECT_EQ(count(1280, 960), timing.extra_width);
    EXPECT_EQ(flicker_lines(), timing.at_60_hz);
  }
}

TEST_F(TimingTest, BlankingDependsOnTheSizeAskedAbout) {
  const struct {
    uint32_t mid;
    int mode;
    std::pair<uint16_t, uint16_t> preset;
    int width;
    int height;
    int extra;
  } rows[] = {{0x0500, 2, {0, 0}, 640, 480, 2888},
              {0x0500, 2, {0, 0}, 640, 481, 1506},
              {0x0500, 2, {0, 0}, 640, 960, 1506},
              {0x0500, 2, {0, 0}, 640, 961, 894},
              {0x0300, 2, {0x05, 10}, 1024, 768, 705},
              {0x0300, 2, {0x05, 10}, 1024, 769, 379},
              {0x0E00, 1, {0x300C, 5000}, 4384, 3288, 5000 - 4384},
              {0x0E60, 1, {0x04, 100}, 640, 480, 1600 - 1280}};  // always of the present readout
  for (const auto& row : rows) {
    open(row.mid).parameter.resolution_mode = static_cast<uint8_t>(row.mode);
    preset_sensor(row.preset.first, row.preset.second);
    EXPECT_EQ(get_extra_exposure_width(context(), row.width, row.height), row.extra)
        << std::hex << row.mid << std::dec << ", " << row.height;
  }
}

TEST_F(TimingTest, WhatCannotBeLeavesTheTimingAsItWas) {
  // A register that reads 0, a divider of 1 (a clock divided by zero) or 0, a line shorter than a pixel.
  const struct {
    uint32_t mid;
    std::vector<std::pair<uint16_t, uint16_t>> registers = {};
  } lies[] = {{0x0120},
              {0x0180},
              {0x0E60},
              {0x0DC0},
              {0x0400},
              {0x3130},
              {0x3130, {{0x320D, 3}}},
              {0x0410, {{0x320D, 9}, {0x36EA, 1}}},
              {0x0410, {{0x320D, 9}, {0x36EA, 0x10}}}};
  for (const auto& lie : lies) {
    SCOPED_TRACE(testing::Message() << std::hex << lie.mid);
    open(lie.mid);
    for (const auto& [reg, value] : lie.registers) preset_sensor(reg, value);
    pretend_timing();
    EXPECT_EQ(code_of([this] { return count() != -1; }), KXCAM_ERROR_READ_REQUEST);
    EXPECT_EQ(unit(), 0.5);
    EXPECT_EQ(flicker_lines(), 20);
  }
}

TEST_F(TimingTest, NoAnswerOfAnyCameraMakesAnInfinityOrAHang) {
  for (const CameraModel& model : model_table) {
    SCOPED_TRACE(testing::Message() << std::hex << model.PID);
    for (const std::vector<uint8_t>& answer : {std::vector<uint8_t>{0, 0}, {0xFF, 0xFF}, {0x01}, {}}) {
      open_model(model.PID);
      camera().inject({.requests = {{.action = kxsim::RequestFault::Action::kReply,
                                     .code = kxsim::kSensorRead,
                                     .reply = answer}}});
      count();
      EXPECT_TRUE(std::isfinite(unit()) && unit() >= 0 && flicker_lines() >= 0);
    }
    open_model(model.PID);
    pretend_timing();
    break_requests(kxsim::kSensorRead);
    if (count() == -1) {
      EXPECT_EQ(unit(), 0.5) << "the sensor is asked";
    }
  }
}

TEST_F(TimingTest, HighSpeedCountsAnewAndIsTheBridgesToRefuse) {
  open(0x0130);
  EXPECT_EQ(CameraSetHighspeed(kCamera, true), 0U);
  EXPECT_EQ(requests(), "B2=1 r5");
  EXPECT_DOUBLE_EQ(unit(), (1280 + 225) * 0.001 / 48);
  EXPECT_EQ(CameraSetHighspeed(kCamera, false), 0U);
  EXPECT_DOUBLE_EQ(unit(), (1280 + 225) * 0.001 / 24);
  break_requests(kxsim::kHighSpeed);
  EXPECT_EQ(code_of(CameraSetHighspeed, kCamera, true), KXCAM_ERROR_READ_REQUEST);
  EXPECT_FALSE(get(CameraGetHighspeed, kCamera));
  lose_device();
  EXPECT_EQ(code_of(CameraSetHighspeed, kCamera, true), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(TimingTest, ANewGeometryRenewsDelayAndTiming) {
  open_model(0x3500);
  int width = 0;
  EXPECT_EQ(CameraSetResolution(kCamera, 2, &width, nullptr), 0U);
  EXPECT_EQ(requests(), "AC=2 w6=39 w9=5");
  EXPECT_DOUBLE_EQ(unit(), (width + 894) * 0.001 / 96);
  EXPECT_EQ(CameraSetROI(kCamera, 0, 0, 800, 600), 0U);
  EXPECT_EQ(requests(), "AD=0 AD=0 w6=39 w9=5");
  EXPECT_DOUBLE_EQ(unit(), (800 + 894) * 0.001 / 96);
}

TEST_F(TimingTest, TheBridgeKeepsAFixedRate) {
  const struct {
    bool fixed;
    double fps;
    const char* requests;
  } rows[] = {{true, 29.97, "R8 W9=12B W8=1"},
              {true, 0.05, "R8 W9=1 W8=1"},
              {true, 1e300, "R8 W9=FFFF W8=1"},
              {false, 25, "R8 W8=0 W1=1"},  // restarted on the way out
              {false, 25, "R8 W8=0"}};
  open(0x0600);
  bool fixed = true;
  double fps = 0;
  const auto read = [&] { EXPECT_EQ(CameraGetFrameRate(kCamera, &fixed, &fps), 0U); };
  for (const auto& row : rows) {
    EXPECT_EQ(CameraSetFrameRate(kCamera, row.fixed, row.fps), 0U);
    EXPECT_EQ(requests(), row.requests);
    read();
    EXPECT_EQ(fixed, row.fixed);
    EXPECT_EQ(fps, row.fps);
  }
  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_EQ(code_of(CameraSetFrameRate, kCamera, true, bad), KXCAM_ERROR_ARGUMENT);
  break_requests(kxsim::kIspWrite);
  break_requests(kxsim::kIspRead);
  EXPECT_EQ(CameraSetFrameRate(kCamera, true, 5), 0U) << "the bridge's answer does not matter";
  lose_device();
  EXPECT_EQ(code_of(CameraSetFrameRate, kCamera, true, 6), KXCAM_ERROR_NO_DEVICE);
  read();
  EXPECT_EQ(fps, 5.0);
}

TEST_F(TimingTest, GlobalResetIsACapability) {
  open(0x0920);
  EXPECT_EQ(CameraSetGlobalReset(kCamera, false), 0U);
  EXPECT_EQ(code_of(CameraGetGlobalReset, kCamera), KXCAM_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(requests(), "");

  open(0x0600, 0x4);
  for (const bool on : {false, true}) {
    EXPECT_EQ(CameraSetGlobalReset(kCamera, on), 0U);
    EXPECT_EQ(get(CameraGetGlobalReset, kCamera), on);
  }
  EXPECT_EQ(requests(), "") << "a switch of the library on this sensor";
  EXPECT_EQ(CameraSetSnapMode(kCamera, 2), 0U);
  EXPECT_EQ(code_of(CameraSetGlobalReset, kCamera, false), KXCAM_ERROR_ARGUMENT);
  EXPECT_TRUE(get(CameraGetGlobalReset, kCamera));

  for (const uint32_t mid : {0x0920U, 0x092BU}) {
    open(mid, 0x4);
    EXPECT_EQ(CameraSetExposure(kCamera, 1000), 0U);
    forget_requests();
    EXPECT_EQ(CameraSetGlobalReset(kCamera, false), 0U);
    EXPECT_EQ(requests(), "w8=0 W1C=0 R15 W14=BC4 W1E=0 wB=DD wC=7 WA=3E7 WB=0")
        << "the shutter is rewritten";
    EXPECT_EQ(CameraSetGlobalReset(kCamera, true), 0U);
    EXPECT_EQ(requests(), "w8=1 W1C=1 R15 W14=BC4 W1E=0 wB=0 wC=0 WA=3E7 WB=0");
  }
}

}  // namespace
}  // namespace kxcam::test
