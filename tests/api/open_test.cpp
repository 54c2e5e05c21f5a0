// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"

namespace kxcam::test {
namespace {

class Open : public CameraBus {
 protected:
  /// Those before the stored settings are read.
  static std::vector<Request> first_sensor_writes(const Camera& camera) {
    std::vector<Request> all = requests(camera);
    all.erase(std::ranges::find(all, Request{kEepromRead, kSet0, 0}), all.end());
    std::erase_if(all, [](const Request& request) { return std::get<0>(request) != kSensorWrite; });
    return all;
  }
};

TEST_F(Open, GivesTheFullSensorAndItsDefaults) {
  const auto camera = open("3600");
  EXPECT_EQ(image_size(), std::pair(720, 540));
  EXPECT_EQ(get(CameraGetTimeout, 0), 500);
  EXPECT_EQ(get(CameraGetResolutionMode, 0), 1);
  EXPECT_EQ(get(CameraGetLineHeight, 0), 2);
  EXPECT_EQ(static_cast<uint32_t>(get(CameraGetFirmVersion, 0)), camera->options().firmware);
  EXPECT_EQ(camera->counters().resets, 1U);
  EXPECT_EQ(camera->requests(0xA2).size(), 1U);
  EXPECT_EQ(code_of(CameraInit, 0), KXCAM_ERROR_IN_USE);
  EXPECT_EQ(CameraReset(0), 0U);
  EXPECT_EQ(CameraFree(0), 0U);
  EXPECT_EQ(camera->requests(0xA3).size(), 1U);
  EXPECT_EQ(code_of(CameraReset, 0), KXCAM_ERROR_NOT_OPEN);
  EXPECT_EQ(CameraInit(0), 0U) << "a closed camera can be opened again";
}

TEST_F(Open, TheOlderBridgeStreamsWithoutBeingAsked) {
  const auto camera = open("0030");
  EXPECT_TRUE(camera->requests(0xA2).empty());
  EXPECT_EQ(camera->counters().resets, 0U);
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Open, RegisterAccessOnlyStartsNothing) {
  const auto camera = open_registers("3600");
  EXPECT_EQ(image_size(), std::pair(640, 480));
  EXPECT_EQ(camera->counters().bulk_reads, 0U);
  EXPECT_EQ(CameraSetGPIO(0, 4, 4), 0U);
  EXPECT_EQ(code_of(CameraSetMirrorX, 0, true), KXCAM_ERROR_ARGUMENT);
  EXPECT_TRUE(query(KXCAM_FORMAT_GREY, 1).empty());
  EXPECT_EQ(code(), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(Open, WakesTheOldThreeMegapixelSensorAsItsFirmwareNeeds) {
  const auto oldest = plug("0300,fw=0x4500");
  oldest->set_frame_source(kxsim::fill_numbered_frame);  // soon made
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(
      first_sensor_writes(*oldest),
      (std::vector<Request>{{kSensorWrite, 0x0D, 1}, {kSensorWrite, 0x0D, 0}, {kSensorWrite, 0x0A, 0x8000}}));
  EXPECT_EQ(oldest->requests(0xA1).size(), 1U);
  CameraFree(0);
  bus_.unplug(*oldest);

  const auto newer = plug("0300,fw=0x4700");
  newer->set_frame_source(kxsim::fill_numbered_frame);
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(first_sensor_writes(*newer),
            (std::vector<Request>{{kSensorWrite, 0x0D, 1}, {kSensorWrite, 0x0D, 0}}));
  EXPECT_TRUE(newer->requests(0xA1).empty());
}

TEST_F(Open, GoesOnWithoutAFirmwareVersion) {
  fail_requests(*plug("3600"), 0xB3);
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(get(CameraGetFirmVersion, 0), 0);
}

TEST_F(Open, ReservesTheStrobeLineOfABridgeThatDrivesIt) {
  plug("3600,features=0x1");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(code_of(CameraSetGPIO, 0, 0x80, 0x80), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(CameraSetGPIO(0, 0x40, 0x40), 0U);
}

}  // namespace
}  // namespace kxcam::test
