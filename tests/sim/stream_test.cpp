// SPDX-License-Identifier: Apache-2.0

// Frames on the wire.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/vendor_request.h"
#include "host.h"

namespace kxsim {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr size_t kWindow = 640 * 480;  // of preset 2
constexpr size_t kStreamRoom = kWindow + 1024;

/// A streaming camera with a small picture and recognisable bytes.
class Streaming : public Host {
 public:
  explicit Streaming(const char* description) : Host(description) {
    camera.set_frame_source(fill_with_pattern);
    ask(kResolutionSelect, 3, 2);
    if (camera.model().newer_bridge()) ask(kStartStream);
  }
};

TEST(Stream, FramesArriveByteForByteAndInOrder) {
  Streaming host("0x3500,fps=0");
  for (uint64_t n = 0; n < 5; ++n) {
    const auto read = host.read(kStreamRoom);
    EXPECT_EQ(read.status, TransferStatus::kCompleted);
    EXPECT_EQ(read.bytes, pattern_frame(n, kWindow));
  }
  EXPECT_EQ(host.camera.counters().frames_sent, 5U);
  EXPECT_EQ(host.camera.counters().frames_made, 5U);
}

TEST(Stream, AFrameOfWholePacketsEndsWithAnEmptyOne) {
  Streaming host("0x3500,fps=0");
  static_assert(kWindow % 1024 == 0);
  EXPECT_EQ(host.read(kWindow).bytes.size(), kWindow);
  const auto empty = host.read(kStreamRoom);
  EXPECT_EQ(empty.status, TransferStatus::kCompleted);
  EXPECT_EQ(empty.bytes.size(), 0U);
  EXPECT_EQ(host.read(kStreamRoom).bytes, pattern_frame(1, kWindow));
}

TEST(Stream, AReadThatEndsWithinAPacketOverflows) {
  Streaming host("0x3500,fps=0");
  EXPECT_EQ(host.read(1000).status, TransferStatus::kOverflow);
  EXPECT_EQ(host.read(kStreamRoom).bytes.size(), kWindow - 1024) << "the packet is lost";
}

TEST(Stream, TwelveBitsTakeTwoBytesUnlessTheBridgeSendsHalf) {
  for (const auto& [description, size] :
       {std::pair{"369B,fps=0,noise=0", 2 * 720U * 540}, {"369B,fps=0,noise=0,half", 720U * 540}}) {
    Host host(description);
    host.ask(kStartStream);
    const auto frame = host.read(2 * 720 * 540 + 1024).bytes;
    ASSERT_EQ(frame.size(), size);
    for (size_t i = 1; i < frame.size(); i += 2) ASSERT_LT(frame[i], 16) << i;
  }
}

TEST(Stream, TheSensorMakesThePixels) {
  Host host("0x304B,fps=0,noise=0");
  host.camera.set_scene(make_uniform({0.5F, 0.5F, 0.5F}));
  host.ask(kStartStream);
  const auto bright = host.read(kStreamRoom);
  ASSERT_EQ(bright.bytes.size(), kWindow);
  EXPECT_GT(bright.bytes[kWindow / 2], 40);
  host.camera.set_exposure({.exposure = 0.25});
  const auto dark = host.read(kStreamRoom);
  EXPECT_LT(dark.bytes[kWindow / 2], bright.bytes[kWindow / 2] / 2);
  host.camera.set_scene(make_uniform({}));
  EXPECT_LT(host.read(kStreamRoom).bytes[kWindow / 2], dark.bytes[kWindow / 2]);
}

TEST(Stream, NewerBridgesWaitForTheStartOlderOnesDoNot) {
  Host newer("0x304B,fps=0");
  EXPECT_EQ(newer.read(kStreamRoom, milliseconds(30)).status, std::nullopt);
  EXPECT_EQ(newer.camera.counters().frames_made, 0U);
  newer.ask(kStartStream);
  EXPECT_EQ(newer.read(kStreamRoom).bytes.size(), kWindow);
  newer.ask(kStopStream);
  EXPECT_EQ(newer.read(kStreamRoom, milliseconds(30)).status, std::nullopt);

  Host older("0x0030,fps=0");
  EXPECT_EQ(older.read(752 * 480 + 1024).bytes.size(), 752U * 480);
}

TEST(Stream, TheRateHoldsAndUnreadFramesAreCounted) {
  Streaming host("0x3500,fps=50");
  const auto begin = steady_clock::now();
  for (int i = 0; i < 5; ++i) host.read(kStreamRoom);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(75));
  std::this_thread::sleep_for(milliseconds(200));
  const auto dropped = host.camera.counters().frames_dropped;
  EXPECT_GE(dropped, 7U);
  EXPECT_LE(host.camera.counters().frames_made, 6U) << "nobody reads, nothing is rendered";
  EXPECT_EQ(host.read(kStreamRoom).bytes.size(), kWindow);
}

TEST(Stream, AFifoHoldsWhatComesBetweenTransfersAndNoMore) {
  for (const auto& [camera, loses] : {std::pair{"3500,fps=2,fifo=1K", true},
                                      {"3500,fps=2,fifo=1M", false},
                                      {"3500,fps=0,fifo=1K", false}}) {
    SCOPED_TRACE(camera);
    Streaming host(camera);
    constexpr size_t kPart = 64 * 1024;
    size_t received = host.read(kPart).bytes.size();
    EXPECT_EQ(received, kPart);
    std::this_thread::sleep_for(milliseconds(100));
    received += host.read(kStreamRoom).bytes.size();
    const auto counters = host.camera.counters();
    EXPECT_EQ(received + counters.bytes_lost, kWindow);
    EXPECT_EQ(counters.frames_cut, loses ? 1U : 0U);
  }
}

TEST(Stream, ACancelledReadKeepsWhatItHas) {
  Streaming host("0x3500,fps=0");
  FaultPlan plan;
  plan.frames.push_back({.action = FrameFault::Action::kUnended, .which = {1, 1}, .bytes = 1024});
  plan.stream_frames = 1;
  host.camera.inject(plan);
  const auto read = host.read(kStreamRoom, milliseconds(50));
  EXPECT_EQ(read.status, std::nullopt);
  EXPECT_EQ(read.bytes.size(), kWindow - 1024);
  EXPECT_EQ(host.camera.counters().frames_sent, 1U);
  EXPECT_EQ(host.camera.counters().frames_unended, 1U);
  EXPECT_EQ(host.camera.counters().cut_reads, 1U);
}

TEST(Stream, EveryFrameMadeIsAccountedFor) {
  Streaming host("0x3500,fps=0");
  host.read(kStreamRoom);
  EXPECT_EQ(host.read(0x10000).bytes.size(), 0x10000U);
  host.camera.bus_reset();
  host.ask(kStartStream);
  EXPECT_EQ(host.read(0x10000).bytes.size(), 0x10000U);
  host.ask(kStopStream);
  host.ask(kStartStream);
  EXPECT_EQ(host.read(0x10000).bytes.size(), 0x10000U);
  const auto counters = host.camera.counters();
  EXPECT_EQ(counters.frames_made, 4U);
  EXPECT_EQ(counters.frames_sent, 1U);
  EXPECT_EQ(counters.frames_withdrawn, 2U) << "one is under way";
  EXPECT_EQ(counters.frames_stale + counters.cut_reads, 0U);
}

TEST(Stream, AChangeOfSizeCutsTheFrameThatIsUnderWay) {
  Streaming host("0x3500,fps=0");
  EXPECT_EQ(host.read(0x10000).bytes.size(), 0x10000U);
  host.ask(kResolutionSelect, 3, 1);
  EXPECT_EQ(host.read(kStreamRoom).bytes.size(), 0U) << "the old frame ends here";
  EXPECT_EQ(host.read(0x200000).bytes.size(), 1296U * 972);
}

struct TriggerCase {
  const char* model;
  uint16_t address;
  uint16_t triggered;
  uint16_t free;
  bool takes_first_pulse = false;  ///< for itself
};

std::ostream& operator<<(std::ostream& out, const TriggerCase& trigger) {
  return out << trigger.model;
}

class Triggered : public testing::TestWithParam<TriggerCase> {};

TEST_P(Triggered, OneBurstAPulse) {
  const TriggerCase& trigger = GetParam();
  const std::string description = std::string(trigger.model) + ",fps=0";
  Streaming host(description.c_str());
  const auto set_mode = [&](bool on) {
    return trigger.address == 0
               ? host.ask(kTriggerMode, 0, on ? 1 : 0).has_value()
               : host.tell(kSensorWrite, trigger.address, on ? trigger.triggered : trigger.free);
  };
  EXPECT_GT(host.read(kStreamRoom).bytes.size(), 0U) << "power-up is free run";
  ASSERT_TRUE(set_mode(true));
  if (trigger.takes_first_pulse) host.ask(kSetGpio, 8, 8);
  EXPECT_EQ(host.read(kStreamRoom, milliseconds(20)).status, std::nullopt);
  host.ask(kSetGpio, 8, 8);
  EXPECT_GT(host.read(kStreamRoom).bytes.size(), 0U);
  EXPECT_EQ(host.read(kStreamRoom, milliseconds(20)).status, std::nullopt);
  if (host.camera.options().firmware >= 0x8300) {
    host.tell(kIspWrite, 5, 2);
    host.camera.trigger();
    EXPECT_GT(host.read(kStreamRoom).bytes.size(), 0U);
    EXPECT_GT(host.read(kStreamRoom).bytes.size(), 0U);
    EXPECT_EQ(host.read(kStreamRoom, milliseconds(20)).status, std::nullopt);
  }
  ASSERT_TRUE(set_mode(false));
  EXPECT_GT(host.read(kStreamRoom).bytes.size(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Families, Triggered,
    testing::Values(TriggerCase{"0x3500", 0x1E, 0x0100, 0}, TriggerCase{"0x0300", 0x1E, 0x0500, 0},
                    TriggerCase{"0x303B", 0x07, 0x0010, 0}, TriggerCase{"0x0200", 0x301A, 0x0100, 0x0104},
                    TriggerCase{"0x312B", 0x301A, 0x01D8, 0x01DC}, TriggerCase{"0x0410", 0x3222, 3, 1, true},
                    TriggerCase{"0x3E6B", 0x0B, 0x104, 6}, TriggerCase{"0x0E00", 0, 0, 0},
                    TriggerCase{"0x392B", 0, 0, 0}, TriggerCase{"0x3130", 0, 0, 0, true}));

}  // namespace
}  // namespace kxsim
