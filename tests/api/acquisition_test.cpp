// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <thread>

#include "camera_bus.h"

namespace kxcam {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using FrameAction = kxsim::FrameFault::Action;

class Acquisition : public CameraBus {};

TEST_F(Acquisition, DeliversEveryFrameInOrderAsItWasSent) {
  open("3600");
  int last = -1;
  for (int n = 0; n < 12; ++n) {
    const int number = number_of(query_raw());
    EXPECT_EQ(number, last + 1);
    last = number;
  }
}

TEST_F(Acquisition, FramesAboveTheLargestTransferComeInChunks) {
  open("3A00");  // 3664 x 2748 = 10,068,672 bytes
  CameraSetTimeout(0, 20'000);
  EXPECT_EQ(number_of(query_raw()), 0);
  EXPECT_EQ(number_of(query_raw()), 1);
}

TEST_F(Acquisition, FramesOfAWrongLengthAreDropped) {
  const auto camera = plug("3600,fps=0");
  camera->set_frame_source(
      [](const kxsim::FrameRequest& request, std::span<uint8_t> out) { fill_numbered(request.number, out); });
  camera->inject({.frames = {{.action = FrameAction::kShort, .which = {1, 1}, .bytes = 1},
                             {.action = FrameAction::kLong, .which = {3, 3}, .bytes = 1},
                             {.action = FrameAction::kSplit, .which = {4, 4}, .bytes = 100'000},
                             {.action = FrameAction::kMissing, .which = {5, 5}}}});
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_EQ(number_of(query_raw()), 1);
  EXPECT_EQ(number_of(query_raw()), 5);
  EXPECT_EQ(number_of(query_raw()), 6);
}

TEST_F(Acquisition, TransferErrorsResetTheCameraAndTheStreamCanGoOn) {
  const auto camera = open("3600");
  EXPECT_EQ(number_of(query_raw()), 0);
  const uint64_t resets = camera->counters().resets;
  camera->inject({.bulk = {{.action = kxsim::BulkFault::Action::kStall, .which = {1, 1}}}});
  // A reset stops the stream of this bridge; the reader survives it and times out until it is started anew.
  const auto deadline = Clock::now() + 5s;
  while (camera->counters().resets == resets && Clock::now() < deadline) query_raw();
  EXPECT_GT(camera->counters().resets, resets);
  EXPECT_EQ(CameraFree(0), 0U);
  EXPECT_EQ(CameraInit(0), 0U);
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Acquisition, AFullRingKeepsTheOldestFrames) {
  open("3600");
  std::this_thread::sleep_for(200ms);
  for (int n = 0; n < 5; ++n) EXPECT_EQ(number_of(query_raw()), n);
  std::this_thread::sleep_for(200ms);
  ASSERT_EQ(CameraClearHostBuffer(0), 0U);
  EXPECT_GT(number_of(query_raw()), 9);
}

TEST_F(Acquisition, AQueryGivesUpAfterItsTimeout) {
  const auto camera = plug("3600,fps=0");
  camera->inject({.stream_frames = 0});
  ASSERT_EQ(CameraInit(0), 0U);
  int timeout = 0;
  CameraSetTimeout(0, 100);
  CameraGetTimeout(0, &timeout);
  EXPECT_EQ(timeout, 500);
  CameraSetTimeout(0, 60000);
  CameraGetTimeout(0, &timeout);
  EXPECT_EQ(timeout, 50000);
  CameraSetTimeout(0, 500);
  const auto start = Clock::now();
  EXPECT_TRUE(query_raw(1).empty());
  EXPECT_EQ(code(), KXCAM_ERROR_NO_FRAME);
  EXPECT_GE(Clock::now() - start, 500ms);
  EXPECT_LT(Clock::now() - start, 5s);
  EXPECT_EQ(camera->counters().resets, 1U) << "a time-out is no reason to reset";
}

TEST_F(Acquisition, ClosingEndsAWaitingQuery) {
  const auto camera = plug("3600,fps=0");
  camera->inject({.stream_frames = 0});
  ASSERT_EQ(CameraInit(0), 0U);
  CameraSetTimeout(0, 50000);
  uint32_t result = 0;
  std::thread waiting([&] {
    int size = 720 * 540;
    std::vector<uint8_t> frame(static_cast<size_t>(size));
    result = CameraQueryImage(0, frame.data(), &size, KXCAM_FORMAT_RAW);
  });
  std::this_thread::sleep_for(50ms);
  const auto start = Clock::now();
  EXPECT_EQ(CameraFree(0), 0U);
  waiting.join();
  EXPECT_LT(Clock::now() - start, 5s);
  EXPECT_EQ(result, 1U);
}

TEST_F(Acquisition, APulledCableEndsInTimeoutsAndACleanClose) {
  const auto camera = open("3600");
  EXPECT_FALSE(query_raw().empty());
  bus_.unplug(*camera);
  CameraClearHostBuffer(0);
  EXPECT_TRUE(query_raw().empty());
  EXPECT_EQ(code(), KXCAM_ERROR_NO_FRAME);
  int count = 0;
  EXPECT_EQ(CameraGetResolutionCount(0, &count), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(CameraFree(0), 0U);
  bus_.plug(camera);
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_FALSE(query_raw().empty());
}

TEST_F(Acquisition, AQueryNeedsTheExactSize) {
  open("3600");
  std::vector<uint8_t> image(720 * 540 * 4 + 4);
  for (const auto& [format, bytes] : {std::pair{KXCAM_FORMAT_RAW + 0, 720 * 540},
                                      {KXCAM_FORMAT_GREY + 0, 720 * 540},
                                      {KXCAM_FORMAT_COLOR + 0, 720 * 540 * 3},
                                      {KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT, 720 * 540 * 4},
                                      {0, 720 * 540 * 3}}) {
    EXPECT_EQ(buffer_size(format), bytes);
    int size = bytes;
    EXPECT_EQ(CameraQueryImage(0, image.data(), &size, format), 0U);
    for (const int wrong : {bytes - 1, bytes + 1, 0, -1}) {
      size = wrong;
      EXPECT_EQ(CameraQueryImage(0, image.data(), &size, format), 1U);
      EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
    }
  }
  int index = -1;
  int size = 720 * 540;
  EXPECT_EQ(CameraQueryImage2(0, image.data(), &size, &index, KXCAM_FORMAT_RAW), 0U);
  EXPECT_TRUE(index >= 0 && index < 5);
  std::vector<uint32_t> pixels(720 * 540, 0xEE000000);
  EXPECT_EQ(CameraQueryImageLV(0, pixels.data(), &size, KXCAM_FORMAT_COLOR), 0U);
  EXPECT_EQ(size, 720 * 540);
  EXPECT_EQ(pixels.front() >> 24, 0xEEU);
  size = 0x40000000 + 720 * 540;
  EXPECT_EQ(CameraQueryImageLV(0, pixels.data(), &size, KXCAM_FORMAT_COLOR), 1U);
}

TEST_F(Acquisition, TwelveBitFramesAreTwoBytesAPixel) {
  open("369B");
  int bits = 0;
  EXPECT_EQ(CameraGetImageDepth(0, &bits), 0U);
  EXPECT_EQ(bits, 12);
  const std::vector<uint8_t> frame = query_raw();
  ASSERT_EQ(frame.size(), 720U * 540 * 2);
  EXPECT_GE(number_of({frame.begin(), frame.begin() + 720 * 540}), 0);
}

TEST_F(Acquisition, ThreadsShareACameraUntilItIsClosed) {
  open("3600");
  std::atomic<bool> closed = false;
  std::atomic<int> delivered = 0;
  const auto query = [&](int format) {
    std::vector<uint8_t> image(720 * 540 * 3);
    while (!closed) {
      int size = 0;
      if (CameraGetImageBufferSize(0, &size, format) != 0 || size > 720 * 540 * 3) continue;
      if (CameraQueryImage(0, image.data(), &size, format) == 0) ++delivered;
    }
  };
  std::thread colour(query, KXCAM_FORMAT_COLOR);
  std::thread grey(query, KXCAM_FORMAT_GREY);
  std::thread setter([&] {
    for (int n = 0; !closed; ++n) {
      CameraSetGamma(0, 0.5 + n % 10 * 0.1);
      CameraSetSaturation(0, n % 3 * 0.5);
      CameraSetMirrorX(0, n % 2 == 0);
      CameraSetRotate(0, 90);
      CameraSetResolution(0, n % 2, nullptr, nullptr);
      CameraSetROI(0, 0, 0, 64, 48);
      CameraSetContrast(0, 1.0 + n % 5 * 0.1);
      std::this_thread::sleep_for(40ms);  // a change of geometry drops the frames under way
    }
  });
  const auto deadline = Clock::now() + 30s;
  while (delivered < 20 && Clock::now() < deadline) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(CameraFree(0), 0U);
  closed = true;
  colour.join();
  grey.join();
  setter.join();
  EXPECT_GE(delivered, 20);
}

}  // namespace
}  // namespace kxcam
