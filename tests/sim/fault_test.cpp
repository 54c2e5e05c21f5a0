// SPDX-License-Identifier: Apache-2.0

// Faults in action.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "host.h"

namespace kxsim {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::Optional;
using testing::SizeIs;

constexpr size_t kFrame = 640 * 480;
constexpr size_t kRoom = 2 * kFrame;

class Faulty : public Host {
 public:
  explicit Faulty(const char* script, const char* description = "0x304B,fps=0") : Host(description) {
    camera.set_frame_source(fill_with_pattern);
    ask(kStartStream);
    camera.inject(parse_fault_script(script));
  }
};

TEST(Faults, Requests) {
  Faulty host(
      "request 2 of 0xB3 stall; request 3 of 0xB3 short 1; request 4 of 0xB3 reply 12 34; request 5 of B3 "
      "timeout;"
      "request 6 of B3 garbage");
  const auto truth = host.ask(kFirmwareVersion);
  EXPECT_THAT(truth, Optional(ElementsAre(0, 0, 0x83, 0x10)));
  host.ask(kGetGpio);
  EXPECT_EQ(host.ask(kFirmwareVersion), std::nullopt);
  EXPECT_THAT(host.ask(kFirmwareVersion), Optional(ElementsAre(0)));
  EXPECT_THAT(host.ask(kFirmwareVersion), Optional(ElementsAre(0x12, 0x34)));
  EXPECT_EQ(host.ask(kFirmwareVersion), std::nullopt);
  EXPECT_THAT(host.ask(kFirmwareVersion), Optional(SizeIs(4)));
  EXPECT_EQ(host.ask(kFirmwareVersion), truth);
}

TEST(Faults, ARequestWithoutAnswerPendsAndHasNoEffect) {
  Faulty host("request 1 timeout");
  HostTransfer transfer(0);
  ASSERT_TRUE(host.camera.submit_control({0x40, kSensorWrite, 7, 7, 0}, transfer));
  EXPECT_EQ(transfer.wait(milliseconds(20)), std::nullopt);
  EXPECT_TRUE(host.camera.cancel(transfer));
  EXPECT_EQ(transfer.wait(), TransferStatus::kCancelled);
  EXPECT_FALSE(host.camera.cancel(transfer));
  EXPECT_EQ(host.camera.sensor_register(7), 0);
}

TEST(Faults, FramesOfWrongSize) {
  Faulty host("frame 2 short 100; frame 3 long 100; frame 4 split 100000; frame 5-6 missing");
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame);
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame - 100);
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame + 100);
  EXPECT_EQ(host.read(kRoom).bytes.size(), 100000U);
  EXPECT_EQ(host.read(kRoom).bytes.size(), 100000U);
  EXPECT_EQ(host.read(kRoom).bytes.size(), 100000U);
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame - 300000);
  EXPECT_EQ(host.read(kRoom).bytes, pattern_frame(6, kFrame)) << "two are missing";
}

TEST(Faults, AFrameWithoutEndRunsIntoTheNext) {
  Faulty host("frame 1 unended 1000");
  EXPECT_EQ(host.read(4 * kFrame).bytes.size(), 2 * kFrame - 1000);
}

TEST(Faults, BulkReads) {
  Faulty host("bulk 2 error; bulk 3 overflow; bulk 4 stall");
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kCompleted);
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kError);
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kOverflow);
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kStalled);
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kStalled) << "a stall lasts";
  EXPECT_TRUE(host.camera.clear_halt());
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kCompleted);
}

TEST(Faults, ABulkReadWithoutAnswerPendsAndLosesNothing) {
  Faulty host("bulk 2 timeout");
  EXPECT_EQ(host.read(kRoom).bytes, pattern_frame(0, kFrame));
  EXPECT_EQ(host.read(kRoom, milliseconds(20)).status, std::nullopt);
  EXPECT_EQ(host.read(kRoom).bytes, pattern_frame(1, kFrame));
  EXPECT_EQ(host.camera.counters().faults, 1U);
}

TEST(Faults, TheCableIsPulledBeforeAnAnswer) {
  Faulty request("request 2 unplug");
  EXPECT_TRUE(request.ask(kGetGpio));
  HostTransfer transfer(1);
  ASSERT_TRUE(request.camera.submit_control({0xC0, kGetGpio, 0, 0, 1}, transfer));
  EXPECT_EQ(transfer.wait(), TransferStatus::kDisconnected);
  EXPECT_FALSE(request.camera.powered());

  Faulty bulk("bulk 2 unplug");
  EXPECT_EQ(bulk.read(kRoom).status, TransferStatus::kCompleted);
  EXPECT_EQ(bulk.read(kRoom).status, TransferStatus::kDisconnected);
  EXPECT_FALSE(bulk.camera.powered());
}

TEST(Faults, TheStreamEnds) {
  Faulty host("stream ends after 2");
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame);
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame);
  EXPECT_EQ(host.read(kRoom, milliseconds(30)).status, std::nullopt);
  host.camera.clear_faults();
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame);
}

TEST(Faults, AllFramesMissingLeavesTheCameraResponsive) {
  Faulty host("frame all missing");
  EXPECT_EQ(host.read(kRoom, milliseconds(30)).status, std::nullopt);
  EXPECT_TRUE(host.ask(kGetGpio));
}

TEST(Faults, TheEepromDies) {
  Faulty host("eeprom dies after 2");
  EXPECT_TRUE(host.tell(kEepromWrite, 0, 1));
  EXPECT_TRUE(host.tell(kEepromWrite, 1, 1));
  EXPECT_FALSE(host.tell(kEepromWrite, 2, 1));
  EXPECT_FALSE(host.tell(kEepromWrite, 3, 1));
  EXPECT_EQ(host.camera.eeprom(2), 0xFF);
  EXPECT_THAT(host.ask(kEepromRead, 1), Optional(ElementsAre(1)));
}

TEST(Faults, TheFlashDies) {
  Faulty host("flash dies after 300");
  const std::vector<uint8_t> zeros(256);
  EXPECT_TRUE(host.tell(kFlashPrepare, 4, 1));
  EXPECT_TRUE(host.tell(kFlashWrite, 0x400, 0, zeros));
  EXPECT_FALSE(host.tell(kFlashWrite, 0x401, 0, zeros));
  EXPECT_FALSE(host.tell(kFlashPrepare, 4, 1)) << "an erasure is a write too";
  const auto left = host.ask(kFlashRead, 0x400, 0, 512);
  ASSERT_TRUE(left);
  EXPECT_EQ(std::ranges::count(*left, 0), 300);
  EXPECT_EQ(left->at(299), 0);
}

TEST(Faults, TheCableIsPulledAfterAnExactRequest) {
  Faulty host("unplug after 2 requests");
  HostTransfer pending(kRoom);
  host.ask(kStopStream);
  ASSERT_TRUE(host.camera.submit_bulk(pending));
  EXPECT_TRUE(host.ask(kGetGpio));
  EXPECT_EQ(pending.wait(), TransferStatus::kDisconnected);
  EXPECT_EQ(host.ask(kGetGpio), std::nullopt);
  EXPECT_FALSE(host.camera.bus_reset());
}

TEST(Faults, TheCableIsPulledAndPluggedInAgain) {
  Faulty host("unplug after 2 frames back after 20ms");
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame);
  EXPECT_EQ(host.read(kRoom).bytes.size(), kFrame);
  EXPECT_EQ(host.read(kRoom).status, TransferStatus::kDisconnected);
  ASSERT_TRUE(Host::eventually([&] { return host.camera.powered(); }));
  EXPECT_FALSE(host.camera.streaming()) << "as after power-up";
  EXPECT_TRUE(host.ask(kStartStream));
  EXPECT_EQ(host.read(kRoom).bytes, pattern_frame(0, kFrame));
}

TEST(Faults, TheCableIsPulledAtATime) {
  Faulty host("unplug at 30ms");
  host.ask(kStopStream);
  EXPECT_EQ(host.read(kRoom, std::chrono::seconds(5)).status, TransferStatus::kDisconnected);
  EXPECT_FALSE(host.camera.powered());
}

}  // namespace
}  // namespace kxsim
