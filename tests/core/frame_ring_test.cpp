// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/frame_ring.h"

#include <thread>

#include <gtest/gtest.h>

#include "sync/clock.h"

namespace kxcam {
namespace {

constexpr FrameGeometry kFrame{8, 4, 1};
constexpr FrameGeometry kTurnedFrame{4, 8, 1};

class FrameRingTest : public ::testing::Test {
 protected:
  int fill(FrameGeometry geometry = kFrame) {
    const int i = ring_.wait_for_free_buffer().value();
    ring_.mark_ready(i, geometry);
    return i;
  }
  /// The buffer, or -1.
  int take(int64_t limit_ms = 0, FrameGeometry geometry = kFrame) {
    return ring_.take(geometry, {.limit_ms = limit_ms}).buffer;
  }
  void stop() {
    running_ = false;
    ring_.wake();
  }

  std::atomic<FrameGeometry> geometry_ = kFrame;
  std::atomic<bool> running_ = true;
  FrameRing ring_{32, {geometry_, running_}};
};

TEST_F(FrameRingTest, HandsFramesOutInOrderAndOnce) {
  for (int i = 0; i < kHostBufferCount; ++i) EXPECT_EQ(fill(), i);
  for (int i = 0; i < kHostBufferCount; ++i) EXPECT_EQ(take(), i);
  // All are taken and none handed back: the ring must not go round to a frame that is in use.
  EXPECT_EQ(take(), -1);
  ring_.release(0, true);
  EXPECT_EQ(fill(), 0);
  EXPECT_EQ(take(), 0);
}

TEST_F(FrameRingTest, WriterWaitsForABufferUntilOneIsReleasedOrItIsStopped) {
  for (int i = 0; i < kHostBufferCount; ++i) fill();
  const uint64_t start = GetTickCount();
  std::thread consumer([&] {
    const int i = take();
    sysdelay(20);
    ring_.release(i, true);
  });
  EXPECT_EQ(ring_.wait_for_free_buffer(), 0);
  EXPECT_GE(GetTickCount() - start, 19U);
  consumer.join();
  fill();
  take();  // nor is a buffer free that is in use
  std::thread stopper([&] {
    sysdelay(20);
    stop();
  });
  EXPECT_EQ(ring_.wait_for_free_buffer(), std::nullopt);
  stopper.join();
}

TEST_F(FrameRingTest, TakeWaitsAtLeastItsLimitAndEndsWhenStopped) {
  const uint64_t start = GetTickCount();
  EXPECT_EQ(take(50), -1);
  EXPECT_GE(GetTickCount() - start, 50U);
  stop();
  EXPECT_EQ(take(60'000), -1);
}

TEST_F(FrameRingTest, ATimeLimitBeginsWithTheTurn) {
  const uint64_t start = GetTickCount();
  const auto wait = [&] {
    EXPECT_EQ(ring_.take(kFrame, {.limit_ms = 150, .counts_from_turn = true}).buffer, -1);
  };
  std::thread other(wait);
  wait();
  other.join();
  EXPECT_GE(GetTickCount() - start, 300U);
}

TEST_F(FrameRingTest, FramesOfAnotherGeometryAreDroppedEvenOfTheSameLength) {
  fill(kTurnedFrame);
  fill(kTurnedFrame);
  fill(kFrame);
  EXPECT_EQ(take(), 2);
  EXPECT_EQ(fill(), 3);
}

TEST_F(FrameRingTest, AChangeOfGeometryEndsTheWaitAndKeepsTheNewFrames) {
  std::thread setter([&] {
    sysdelay(20);
    geometry_ = kTurnedFrame;
    ring_.wake();
    fill(kTurnedFrame);
  });
  EXPECT_EQ(take(60'000), -1);
  setter.join();
  EXPECT_EQ(take(60'000), -1) << "asked for in the old geometry, too late";
  EXPECT_EQ(take(0, kTurnedFrame), 0);
}

TEST_F(FrameRingTest, CountsEveryFrameOnce) {
  fill(kTurnedFrame);
  for (int n = 1; n < kHostBufferCount; ++n) fill();
  EXPECT_EQ(ring_.waiting(), kHostBufferCount);
  ring_.release(take(), true);
  ring_.release(take(), false);
  EXPECT_EQ(ring_.waiting(), 2);
  ring_.drop_ready_frames();
  EXPECT_EQ(ring_.waiting(), 0);
  EXPECT_EQ(ring_.counters().old_geometry, 1U);
  EXPECT_EQ(ring_.counters().delivered, 1U);
  EXPECT_EQ(ring_.counters().not_delivered, 1U);
  EXPECT_EQ(ring_.counters().flushed, 2U);
}

TEST_F(FrameRingTest, FlushDropsAtMostOneRingAndNoFrameThatIsInUse) {
  for (int i = 0; i < kHostBufferCount; ++i) fill();
  uint64_t start = GetTickCount();
  ring_.flush();
  EXPECT_LT(GetTickCount() - start, 100U);
  EXPECT_EQ(take(), -1);

  fill();
  fill();
  const int in_use = take();
  start = GetTickCount();
  ring_.flush();
  const uint64_t waited = GetTickCount() - start;
  EXPECT_GE(waited, 200U);
  EXPECT_LT(waited, 400U);
  for (int i = 0; i < kHostBufferCount - 2; ++i) EXPECT_NE(fill(), in_use);
}

}  // namespace
}  // namespace kxcam
