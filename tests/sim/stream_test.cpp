// SPDX-License-Identifier: Apache-2.0

// Frames on the wire.

#include <thread>

#include <gmock/gmock.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "host.h"
#include "numbered_frame.h"

namespace kxsim {
namespace {

using kxcam::test::number_of;
using std::chrono::milliseconds;

constexpr size_t kWindow = 640 * 480;  // of preset 2
constexpr size_t kStreamRoom = kWindow + 1024;

/// A streaming camera with a small picture.
class Streaming : public Host {
 public:
  explicit Streaming(const char* description) : Host(description) {
    ask(kResolutionSelect, 3, 2);
    ask(kStartStream);
  }
};

TEST(Stream, ReadsEndWithAFrameOrWithinAPacket) {
  Streaming host("3500,fps=0");
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(host.read(kStreamRoom), std::to_string(kWindow));
    EXPECT_EQ(number_of(host.bytes), n);
  }
  static_assert(kWindow % 1024 == 0);
  EXPECT_EQ(host.read(kWindow), std::to_string(kWindow));
  EXPECT_EQ(host.read(kStreamRoom), "0") << "a frame of whole packets ends with an empty one";
  EXPECT_EQ(host.read(1000), "overflow");
  EXPECT_EQ(host.read(kStreamRoom), std::to_string(kWindow - 1024)) << "the packet is lost";
  EXPECT_EQ(host.camera.counters().frames_sent, 5U);
  EXPECT_EQ(host.read(0x10000), std::to_string(0x10000));
  host.ask(kResolutionSelect, 3, 1);
  EXPECT_EQ(host.read(kStreamRoom), "0") << "a change of size ends the frame under way";
  EXPECT_EQ(host.read(0x200000), std::to_string(1296 * 972));
}

TEST(Stream, TwelveBitsTakeTwoBytesUnlessTheBridgeSendsHalf) {
  for (const auto& [description, size] :
       {std::pair{"369B,fps=0", 2 * 720 * 540}, {"369B,fps=0,half", 720 * 540}}) {
    Host host(description);
    host.camera.set_frame_source({});
    host.ask(kStartStream);
    ASSERT_EQ(host.read(2 * 720 * 540 + 1024), std::to_string(size));
    for (size_t i = 1; i < host.bytes.size(); i += 2) ASSERT_LT(host.bytes[i], 16) << i;
  }
}

TEST(Stream, NewerBridgesWaitForTheStartOlderOnesDoNot) {
  Host newer("304B,fps=0");
  EXPECT_EQ(newer.read_briefly(kStreamRoom), "nothing");
  EXPECT_EQ(newer.camera.counters().frames_made, 0U);
  newer.ask(kStartStream);
  EXPECT_EQ(newer.read(kStreamRoom), std::to_string(kWindow));
  newer.ask(kStopStream);
  EXPECT_EQ(newer.read_briefly(kStreamRoom), "nothing");
  EXPECT_EQ(Host("0030,fps=0").read(752 * 480 + 1024), std::to_string(752 * 480));
}

TEST(Stream, TheRateHoldsAndUnreadFramesAreDroppedUnmade) {
  Streaming host("3500,fps=50");
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 5; ++i) host.read(kStreamRoom);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(75));
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_GE(host.camera.counters().frames_dropped, 7U);
  EXPECT_LE(host.camera.counters().frames_made, 6U);
  EXPECT_EQ(host.read(kStreamRoom), std::to_string(kWindow));
}

TEST(Stream, AFifoHoldsWhatComesBetweenTransfersAndNoMore) {
  for (const auto& [camera, loses] : {std::pair{"3500,fps=2,fifo=1K", true},
                                      {"3500,fps=2,fifo=1M", false},
                                      {"3500,fps=0,fifo=1K", false}}) {
    SCOPED_TRACE(camera);
    Streaming host(camera);
    EXPECT_EQ(host.read(0x10000), std::to_string(0x10000));
    std::this_thread::sleep_for(milliseconds(100));
    host.read(kStreamRoom);
    const auto counters = host.camera.counters();
    EXPECT_EQ(0x10000 + host.bytes.size() + counters.bytes_lost, kWindow);
    EXPECT_EQ(counters.frames_cut, loses ? 1U : 0U);
  }
}

TEST(Stream, EveryFrameMadeIsAccountedFor) {
  Streaming host("3500,fps=0");
  host.read(kStreamRoom);
  host.read(0x10000);
  host.camera.bus_reset();
  host.ask(kStartStream);
  host.read(0x10000);
  host.ask(kStopStream);
  host.ask(kStartStream);
  EXPECT_EQ(host.read(0x10000), std::to_string(0x10000));
  const auto counters = host.camera.counters();
  EXPECT_EQ(counters.frames_made, 4U);
  EXPECT_EQ(counters.frames_sent, 1U);
  EXPECT_EQ(counters.frames_withdrawn, 2U) << "one is under way";
  EXPECT_EQ(counters.frames_stale + counters.cut_reads, 0U);

  Streaming cut("3500,fps=0");
  cut.camera.inject(parse_fault_script("frame 1 unended 1024; stream ends after 1"));
  EXPECT_EQ(cut.read(kStreamRoom, milliseconds(500)), "nothing");
  EXPECT_EQ(cut.bytes.size(), kWindow - 1024) << "a read that was given up keeps what it has";
  EXPECT_EQ(cut.camera.counters().frames_sent, 1U);
  EXPECT_EQ(cut.camera.counters().frames_unended, 1U);
  EXPECT_EQ(cut.camera.counters().cut_reads, 1U);
}

}  // namespace
}  // namespace kxsim
