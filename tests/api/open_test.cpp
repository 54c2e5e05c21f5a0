// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"

namespace kxcam {
namespace {

using Open = CameraBus;

/// Those before the stored settings are read.
std::vector<std::pair<int, int>> first_sensor_writes(const kxsim::SimulatedCamera& camera) {
  std::vector<std::pair<int, int>> writes;
  for (const kxsim::LoggedRequest& request : camera.requests()) {
    if (request.code == 0xB0 && request.index == 0x1F00) break;
    if (request.code == 0xA6) writes.emplace_back(request.index, request.value);
  }
  return writes;
}

TEST_F(Open, GivesTheFullSensorAndItsDefaults) {
  const auto camera = open("3600");
  int value = 0;
  int width = 0;
  int height = 0;
  EXPECT_EQ(CameraGetImageSize(0, &width, &height), 0U);
  EXPECT_EQ(width, 720);
  EXPECT_EQ(height, 540);
  EXPECT_EQ(CameraGetTimeout(0, &value), 0U);
  EXPECT_EQ(value, 500);
  EXPECT_EQ(CameraGetResolutionMode(0, &value), 0U);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(CameraGetLineHeight(0, &value), 0U);
  EXPECT_EQ(value, 2);
  EXPECT_EQ(CameraGetImageDepth(0, &value), 0U);
  EXPECT_EQ(value, 8);
  EXPECT_EQ(CameraGetFirmVersion(0, &value), 0U);
  EXPECT_EQ(static_cast<uint32_t>(value), camera->options().firmware);
  EXPECT_EQ(camera->counters().resets, 1U);
  EXPECT_EQ(camera->requests(0xA2).size(), 1U);
  EXPECT_EQ(CameraInit(0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_IN_USE);
  EXPECT_EQ(CameraReset(0), 0U);
  EXPECT_EQ(CameraFree(0), 0U);
  EXPECT_EQ(camera->requests(0xA3).size(), 1U);
  EXPECT_EQ(CameraReset(0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NOT_OPEN);
  EXPECT_EQ(CameraInit(0), 0U) << "a closed camera can be opened again";
}

TEST_F(Open, TheOlderBridgeStreamsWithoutBeingAsked) {
  const auto camera = open("0030");
  EXPECT_TRUE(camera->requests(0xA2).empty());
  EXPECT_EQ(camera->counters().resets, 0U);
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Open, RegisterAccessOnlyStartsNothing) {
  const auto camera = plug("3600");
  ASSERT_EQ(CameraInitIO(0), 0U);
  int width = 0;
  int height = 0;
  EXPECT_EQ(CameraGetImageSize(0, &width, &height), 0U);
  EXPECT_EQ(width, 640);
  EXPECT_EQ(height, 480);
  EXPECT_EQ(camera->counters().bulk_reads, 0U);
  EXPECT_EQ(CameraSetGPIO(0, 4, 4), 0U);
  EXPECT_EQ(CameraSetMirrorX(0, true), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  std::vector<uint8_t> image(640 * 480);
  int size = 640 * 480;
  EXPECT_EQ(CameraQueryImage(0, image.data(), &size, KXCAM_FORMAT_GREY), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(Open, WakesTheOldThreeMegapixelSensorAsItsFirmwareNeeds) {
  const auto oldest = plug("0300,fw=0x4500");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(first_sensor_writes(*oldest),
            (std::vector<std::pair<int, int>>{{0x0D, 1}, {0x0D, 0}, {0x0A, 0x8000}}));
  EXPECT_EQ(oldest->requests(0xA1).size(), 1U);
  CameraFree(0);
  bus_.unplug(*oldest);

  const auto newer = plug("0300,fw=0x4700");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(first_sensor_writes(*newer), (std::vector<std::pair<int, int>>{{0x0D, 1}, {0x0D, 0}}));
  EXPECT_TRUE(newer->requests(0xA1).empty());
}

TEST_F(Open, FailsWithoutACodeBeyondTheCamerasOnTheBus) {
  plug("3600");
  EXPECT_EQ(CameraInit(1), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NONE_YET);
}

TEST_F(Open, GoesOnWithoutAFirmwareVersion) {
  const auto camera = plug("3600");
  camera->inject({.requests = {{.action = kxsim::RequestFault::Action::kStall, .code = 0xB3}}});
  ASSERT_EQ(CameraInit(0), 0U);
  int version = 1;
  EXPECT_EQ(CameraGetFirmVersion(0, &version), 0U);
  EXPECT_EQ(version, 0);
}

TEST_F(Open, ReservesTheStrobeLineOfABridgeThatDrivesIt) {
  plug("3600,features=0x1");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(CameraSetGPIO(0, 0x80, 0x80), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(CameraSetGPIO(0, 0x40, 0x40), 0U);
}

}  // namespace
}  // namespace kxcam
