// SPDX-License-Identifier: Apache-2.0

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "camera_bus.h"
#include "eventually.h"
#include "kxcam/extra.h"

namespace kxcam::test {
namespace {

using namespace std::chrono_literals;
using Reconnect = CameraBus;

TEST_F(Reconnect, FindsTheCameraAtAnotherPort) {
  const auto camera = open("3600");
  plug("3600");
  CameraSetGain(0, 99);
  CameraSetGamma(0, 0.5);
  CameraSetROI(0, 16, 32, 64, 48);
  EXPECT_FALSE(query_raw().empty());
  bus_.unplug(*camera);
  CameraClearHostBuffer(0);
  EXPECT_TRUE(query_raw(4).empty());
  EXPECT_EQ(code(), KXCAM_ERROR_NO_FRAME);
  bus_.plug(camera, 40);
  EXPECT_EQ(CameraReconnect(0), 0U);
  EXPECT_EQ(query_raw(), numbered(0, 64 * 48)) << "the first one of the new stream";
  EXPECT_EQ(camera->sensor_register(0x3204), 98);
  EXPECT_EQ(get(CameraGetGamma, 0), 0.5);
  EXPECT_EQ(camera->readout().x, 16);
}

TEST_F(Reconnect, WorksOnACameraThatWasNeverAway) {
  const auto camera = open("3600");
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(CameraReconnect(0), 0U);
    EXPECT_FALSE(query_raw().empty());
  }
  EXPECT_EQ(bus_.open_nodes(), 1U);
}

TEST_F(Reconnect, FailsUntilTheCameraIsThere) {
  EXPECT_EQ(code_of(CameraReconnect, 256), KXCAM_ERROR_INDEX);
  EXPECT_EQ(code_of(CameraReconnect, 0), KXCAM_ERROR_NOT_OPEN);
  const auto camera = open("3600");
  ASSERT_TRUE(eventually([&] { return camera->counters().frames_sent >= 3; })) << "so that some wait";
  bus_.unplug(*camera);
  for (int n = 0; n < 2; ++n) EXPECT_EQ(code_of(CameraReconnect, 0), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(CameraReset(0), 0U) << "the camera stays open";
  EXPECT_TRUE(query_raw(1).empty());
  EXPECT_EQ(code(), KXCAM_ERROR_NO_FRAME);
  EXPECT_EQ(code_of(CameraGetDelay, 0), KXCAM_ERROR_NO_DEVICE);
  plug("3600,serial=SOMEBODYELSE");
  EXPECT_EQ(code_of(CameraReconnect, 0), KXCAM_ERROR_NO_DEVICE) << "another camera of the model is not it";
  plug("3500,serial=" + camera->options().serial);
  EXPECT_EQ(code_of(CameraReconnect, 0), KXCAM_ERROR_NO_DEVICE) << "nor is another model";
  bus_.plug(camera);
  camera->inject({.open_denied = true});
  EXPECT_EQ(code_of(CameraReconnect, 0), KXCAM_ERROR_NO_DEVICE);
  camera->clear_faults();
  EXPECT_EQ(CameraReconnect(0), 0U);
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Reconnect, RegisterAccessComesBackWithoutAStream) {
  const auto camera = open_registers("3600");
  bus_.replug(camera, 7);
  EXPECT_EQ(CameraSetGPIO(0, 4, 4), 1U);
  EXPECT_EQ(CameraReconnect(0), 0U);
  EXPECT_EQ(CameraSetGPIO(0, 4, 4), 0U);
  EXPECT_EQ(camera->counters().bulk_reads, 0U);
  EXPECT_TRUE(camera->requests(0xA2).empty());
}

TEST_F(Reconnect, WakesTheOldSensorAgain) {
  const auto camera = open("0300,fw=0x4700");
  bus_.replug(camera);
  camera->clear_requests();
  EXPECT_EQ(CameraReconnect(0), 0U);
  const auto writes = camera->requests(kSensorWrite);
  ASSERT_GE(writes.size(), 2U);
  EXPECT_EQ(std::pair(+writes[0].index, +writes[0].value), std::pair(0x0D, 1));
  EXPECT_EQ(std::pair(+writes[1].index, +writes[1].value), std::pair(0x0D, 0));
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Reconnect, GivesTheCameraAllThatItsBridgeLost) {
  const auto first = plug("3600,features=3");
  const auto camera = plug("3600,features=3");
  int index = -1;
  for (const auto& each : {first, camera}) ASSERT_EQ(kxcam_open(each->options().serial.c_str(), &index), 0);
  CameraSetTriggerPolarity(1, 3);
  CameraEnableStrobe(1, true);
  CameraSetStrobePolarity(1, 0);
  CameraSetDebouncerTime(1, 7);
  CameraSetTriggerDelay(1, 250);
  CameraSetStrobeDelay(1, 370);
  CameraSetStrobeDuration(1, 490);
  CameraSetFrameRate(1, true, 12.5);
  CameraSetAETarget(1, 99);
  CameraSetTriggerDelay(0, 110);
  bus_.replug(camera);
  ASSERT_EQ(CameraReconnect(1), 0U);
  constexpr std::array<std::pair<uint16_t, int>, 9> kKept = {
      {{3, 3}, {4, 0x8000}, {6, 7}, {8, 1}, {9, 125}, {12, 25}, {13, 37}, {14, 49}, {0x1A, 99 << 4}}};
  for (const auto& [reg, value] : kKept) EXPECT_EQ(camera->isp_register(reg), value) << "register " << reg;
  EXPECT_EQ(first->isp_register(12), 11) << "its unit lost nothing";
}

TEST_F(Reconnect, TellsCamerasOfOneSerialNumberApart) {
  const std::string twin = "3600,serial=TWIN";
  auto first = plug(twin);
  auto second = plug(twin);
  ASSERT_EQ(CameraInit(0), 0U);
  if (first->requests(0xA2).empty()) std::swap(first, second);  // libusb may list the second one first
  ASSERT_EQ(CameraInit(1), 0U);
  bus_.unplug(*second);
  EXPECT_EQ(code_of(CameraReconnect, 1), KXCAM_ERROR_NO_DEVICE) << "the other one is open";
  bus_.plug(second, 9);
  EXPECT_EQ(CameraReconnect(1), 0U) << "at another port";
  bus_.unplug(*first);
  bus_.unplug(*second);
  bus_.plug(second, 9);
  EXPECT_EQ(code_of(CameraReconnect, 0), KXCAM_ERROR_NO_DEVICE) << "the other one is back before it";
  bus_.plug(first);
  EXPECT_EQ(CameraReconnect(1), 0U);
  EXPECT_EQ(CameraReconnect(0), 0U);
  CameraFree(0);
  bus_.replug(second);
  first->clear_requests();
  second->clear_requests();
  EXPECT_EQ(CameraReconnect(1), 0U);
  EXPECT_EQ(second->requests(0xA2).size(), 1U) << "the one at the port where the camera was";
  EXPECT_TRUE(first->requests(0xA2).empty());
}

TEST_F(Reconnect, OtherThreadsGoOnMeanwhile) {
  const auto camera = open("3600");
  std::atomic<bool> done = false;
  std::atomic<int> delivered = 0;
  const auto query = [&](int format) {
    std::vector<uint8_t> image(720 * 540 * 3);
    while (!done) {
      int size = 0;
      if (CameraGetImageBufferSize(0, &size, format) != 0 || size > 720 * 540 * 3) continue;
      if (CameraQueryImage(0, image.data(), &size, format) == 0) ++delivered;
    }
  };
  std::thread colour(query, KXCAM_FORMAT_COLOR);
  std::thread raw(query, KXCAM_FORMAT_RAW);
  std::thread setter([&] {
    for (int n = 1; !done; ++n) {
      CameraSetGain(0, n % 255 + 1);
      CameraSetGamma(0, 0.5 + n % 10 * 0.1);
      CameraSetExposure(0, n % 100 + 1);
      std::this_thread::sleep_for(1ms);
    }
  });
  for (const int port : {9, 2, 30}) {
    std::this_thread::sleep_for(30ms);
    bus_.unplug(*camera);
    EXPECT_EQ(CameraReconnect(0), 1U);
    bus_.plug(camera, port);
    EXPECT_EQ(CameraReconnect(0), 0U);
    EXPECT_TRUE(eventually([&, before = delivered.load()] { return delivered >= before + 3; }));
  }
  CameraFree(0);
  EXPECT_EQ(CameraReconnect(0), 1U) << "not after a close";
  done = true;
  colour.join();
  raw.join();
  setter.join();
}

TEST_F(Reconnect, BesideACloseLeavesNothingOpen) {
  for (int n = 0; n < 5; ++n) {
    const auto camera = open("3600");
    std::thread reconnecting([] { CameraReconnect(0); });
    std::this_thread::sleep_for(n * 20ms);
    CameraFree(0);
    reconnecting.join();
    EXPECT_EQ(bus_.open_nodes(), 0U);
    bus_.unplug(*camera);
  }
}

}  // namespace
}  // namespace kxcam::test
