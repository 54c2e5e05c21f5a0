// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <chrono>
#include <thread>

#include "camera_bus.h"
#include "eventually.h"

namespace kxcam::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kPixels = 720 * 540;

class Acquisition : public CameraBus {
 protected:
  /// A camera that sends nothing.
  std::shared_ptr<Camera> open_silent() {
    auto camera = plug("3600,fps=0");
    camera->inject({.stream_frames = 0});
    EXPECT_EQ(CameraInit(0), 0U);
    return camera;
  }
};

TEST_F(Acquisition, FramesAboveTheLargestTransferComeInChunks) {
  open("3A00");  // 3664 x 2748 = 10,068,672 bytes
  CameraSetTimeout(0, 20'000);
  EXPECT_EQ(number_of(query_raw()), 0);
  EXPECT_EQ(number_of(query_raw()), 1);
}

TEST_F(Acquisition, TransferErrorsResetTheCameraAndTheStreamCanGoOn) {
  const auto camera = open("3600");
  EXPECT_EQ(number_of(query_raw()), 0);
  const uint64_t resets = camera->counters().resets;
  camera->inject({.bulk = {{.action = kxsim::BulkFault::Action::kStall, .which = {1, 1}}}});
  // A reset stops the stream of this bridge; the reader survives it and times out until it is started anew.
  EXPECT_TRUE(eventually([&] {
    query_raw(1);
    return camera->counters().resets > resets;
  }));
  EXPECT_EQ(CameraFree(0), 0U);
  EXPECT_EQ(CameraInit(0), 0U);
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Acquisition, AFullRingKeepsTheOldestFrames) {
  const auto camera = open("3600");
  // The reader waits with one frame more than the ring holds.
  const auto sent = [&](uint64_t frames) {
    return eventually([&] { return camera->counters().frames_sent >= frames; });
  };
  ASSERT_TRUE(sent(5));
  for (int n = 0; n < 5; ++n) EXPECT_EQ(number_of(query_raw()), n);
  ASSERT_TRUE(sent(10));
  ASSERT_EQ(CameraClearHostBuffer(0), 0U);
  EXPECT_GT(number_of(query_raw()), 9);
}

TEST_F(Acquisition, AQueryGivesUpAfterItsTimeout) {
  const auto camera = open_silent();
  for (const auto& [asked, kept] : {std::pair(100, 500), {60'000, 50'000}, {500, 500}}) {
    CameraSetTimeout(0, asked);
    EXPECT_EQ(get(CameraGetTimeout, 0), kept);
  }
  const auto start = Clock::now();
  EXPECT_TRUE(query_raw(1).empty());
  EXPECT_EQ(code(), KXCAM_ERROR_NO_FRAME);
  EXPECT_GE(Clock::now() - start, 500ms);
  EXPECT_EQ(camera->counters().resets, 1U) << "a time-out is no reason to reset";
}

TEST_F(Acquisition, AQueryWaitsForTheExposureToo) {
  open_silent();
  CameraSetExposure(0, 100'000);  // of 10 us
  const auto start = Clock::now();
  EXPECT_TRUE(query_raw(1).empty());
  EXPECT_GE(Clock::now() - start, 1000ms);
}

TEST_F(Acquisition, AQueryNeedsTheExactSize) {
  open("3600");
  Bytes image(kPixels * 4 + 4);
  for (const auto& [format, bytes] : {std::pair{KXCAM_FORMAT_RAW + 0, kPixels},
                                      {KXCAM_FORMAT_GREY + 0, kPixels},
                                      {KXCAM_FORMAT_COLOR + 0, kPixels * 3},
                                      {KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT, kPixels * 4},
                                      {0, kPixels * 3}}) {
    EXPECT_EQ(buffer_size(format), bytes);
    int size = bytes;
    EXPECT_EQ(CameraQueryImage(0, image.data(), &size, format), 0U);
    for (int wrong : {bytes - 1, bytes + 1, 0, -1}) {
      EXPECT_EQ(code_of(CameraQueryImage, 0, image.data(), &wrong, format), KXCAM_ERROR_ARGUMENT);
    }
  }
  std::vector<uint32_t> pixels(kPixels, 0xEE000000);
  int size = kPixels;
  EXPECT_EQ(CameraQueryImageLV(0, pixels.data(), &size, KXCAM_FORMAT_COLOR), 0U);
  EXPECT_EQ(size, kPixels);
  EXPECT_EQ(pixels.front() >> 24, 0xEEU);
  size = 0x40000000 + kPixels;  // in bytes as many as kPixels, modulo 2^32
  EXPECT_EQ(CameraQueryImageLV(0, pixels.data(), &size, KXCAM_FORMAT_COLOR), 1U);
}

TEST_F(Acquisition, ThreadsShareACameraUntilItIsClosed) {
  open("3600");
  std::atomic<bool> closed = false;
  std::atomic<int> delivered = 0;
  const auto query_on = [&](int format) {
    Bytes image(kPixels * 3);
    while (!closed) {
      int size = 0;
      if (CameraGetImageBufferSize(0, &size, format) != 0 || size > kPixels * 3) continue;
      if (CameraQueryImage(0, image.data(), &size, format) == 0) ++delivered;
    }
  };
  std::thread colour(query_on, KXCAM_FORMAT_COLOR);
  std::thread grey(query_on, KXCAM_FORMAT_GREY);
  std::thread setter([&] {
    for (int n = 0; !closed; ++n) {
      CameraSetGamma(0, 0.5 + n % 10 * 0.1);
      CameraSetSaturation(0, n % 3 * 0.5);
      CameraSetMirrorX(0, n % 2 == 0);
      CameraSetRotate(0, 90);
      CameraSetResolution(0, n % 2, nullptr, nullptr);
      CameraSetROI(0, 0, 0, 64, 48);
      std::this_thread::sleep_for(40ms);  // a change of geometry drops the frames under way
    }
  });
  EXPECT_TRUE(eventually([&] { return delivered >= 20; }));
  EXPECT_EQ(CameraFree(0), 0U);
  closed = true;
  colour.join();
  grey.join();
  setter.join();
}

}  // namespace
}  // namespace kxcam::test
