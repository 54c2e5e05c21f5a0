// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>

#include <poll.h>
#include <unistd.h>

#include "camera_bus.h"
#include "eventually.h"
#include "kxcam/extra.h"

namespace kxcam::test {
namespace {

using Action = kxsim::FrameFault::Action;

class Frames : public CameraBus {
 protected:
  static constexpr size_t kPixels = 720 * 540;  // of model 3600
  static constexpr size_t kTransfer = kPixels / 1024 * 1024 + 1024;

  /// A raw query; the number of the frame goes to `frame`.
  static int query(kxcam_frame* frame = nullptr, int timeout_ms = 60'000, unsigned flags = 0) {
    thread_local Bytes image(kPixels);
    const int cause =
        kxcam_query(0, image.data(), image.size(), KXCAM_FORMAT_RAW, timeout_ms, flags, frame, sizeof *frame);
    EXPECT_EQ(kxcam_thread_error(), cause);
    if (cause == 0 && frame != nullptr) frame->reserved = static_cast<uint32_t>(number_of(image));
    return cause;
  }

  static kxcam_statistics statistics() {
    kxcam_statistics now{};
    EXPECT_EQ(kxcam_get_statistics(0, &now, sizeof now), 0);
    EXPECT_EQ(now.ended, now.delivered + now.too_short + now.too_long + now.timed_out + now.old_geometry +
                             now.flushed + now.passed_over + now.failed + static_cast<uint64_t>(now.waiting));
    return now;
  }

  /// Opens a camera that sends nothing any more and of which nothing waits.
  std::shared_ptr<Camera> open_silent() {
    auto camera = plug("3600,fps=0");
    camera->set_frame_source(kxsim::fill_numbered_frame);
    camera->inject({.stream_frames = 0});
    EXPECT_EQ(CameraInit(0), 0U);
    return camera;
  }

  static bool readable(int fd, int timeout_ms = 0) {
    pollfd wanted{.fd = fd, .events = POLLIN, .revents = 0};
    return poll(&wanted, 1, timeout_ms) == 1;
  }

  static int descriptor() {
    int fd = -1;
    EXPECT_EQ(kxcam_frame_fd(0, &fd), 0);
    return fd;
  }
};

TEST_F(Frames, EveryGapInTheNumbersIsAFrameLostToACauseThatIsCounted) {
  const auto camera = open_silent();
  camera->inject({.frames = {{.action = Action::kShort, .which = {3, 3}, .bytes = 1},
                             {.action = Action::kLong, .which = {5, 6}, .bytes = 1},
                             {.action = Action::kShort, .which = {12, 14}, .bytes = 5000},
                             // What is left of it after a full transfer has the size of a frame.
                             {.action = Action::kLong, .which = {17, 18}, .bytes = kTransfer}},
                  .stream_frames = 20});
  const std::set<uint64_t> lost = {2, 4, 5, 11, 12, 13, 16, 17};
  int first = -1;
  for (uint64_t sequence = 0; sequence < 20; ++sequence) {
    if (lost.contains(sequence)) continue;
    kxcam_frame frame{};
    ASSERT_EQ(query(&frame), 0);
    EXPECT_EQ(frame.sequence, sequence);
    const int sent = static_cast<int>(frame.reserved);
    if (first < 0) first = sent;
    EXPECT_EQ(sent - first, static_cast<int>(sequence)) << "the frame that the camera sent as this one";
  }
  const kxcam_statistics now = statistics();
  EXPECT_EQ(now.ended, 20U);
  EXPECT_EQ(now.delivered, 12U);
  EXPECT_EQ(now.too_short, 4U);
  EXPECT_EQ(now.too_long, 4U);
  EXPECT_EQ(now.state, KXCAM_STREAMING);
}

TEST_F(Frames, ThereIsATimeAndANewest) {
  const auto camera = open_silent();
  camera->inject({.stream_frames = 6});
  ASSERT_TRUE(eventually([] { return statistics().waiting == 5; }));
  ASSERT_TRUE(eventually([] { return statistics().ring_full_ns > 0; })) << "of a stall that goes on";
  kxcam_frame oldest{};
  ASSERT_EQ(query(&oldest), 0);
  EXPECT_EQ(oldest.waiting, 4);
  EXPECT_EQ(std::pair(oldest.width, oldest.height), std::pair(720, 540));
  ASSERT_TRUE(eventually([] { return statistics().waiting == 5; }));
  kxcam_frame newest{};
  ASSERT_EQ(query(&newest, 0, KXCAM_QUERY_NEWEST), 0);
  EXPECT_EQ(newest.sequence, 5U);
  EXPECT_EQ(newest.waiting, 0);
  EXPECT_GT(newest.arrived_ns, oldest.arrived_ns);
  EXPECT_EQ(statistics().passed_over, 4U);
  EXPECT_EQ(query(nullptr, 0), KXCAM_ERROR_NO_FRAME);
  EXPECT_EQ(query(nullptr, 0, 2), KXCAM_ERROR_ARGUMENT);
  uint8_t byte = 0;
  EXPECT_EQ(kxcam_query(0, &byte, 1, KXCAM_FORMAT_RAW, 0, 0, nullptr, 0), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(kxcam_query(1, &byte, 1, KXCAM_FORMAT_RAW, 0, 0, nullptr, 0), KXCAM_ERROR_NOT_OPEN);
  EXPECT_EQ(kxcam_query(-1, &byte, 1, KXCAM_FORMAT_RAW, 0, 0, nullptr, 0), KXCAM_ERROR_INDEX);
}

TEST_F(Frames, AnInterruptionEndsEveryWaitAndLosesNoFrame) {
  open("3600");
  constexpr int kInterruptions = 1000;
  std::atomic<int> ended = 0;
  std::atomic<bool> done = false;
  uint64_t delivered = 0;
  std::thread reader([&] {
    while (!done) {
      const int cause = query(nullptr, -1);
      EXPECT_TRUE(cause == 0 || cause == KXCAM_ERROR_INTERRUPTED) << cause;
      if (cause == 0) ++delivered;
      if (cause == KXCAM_ERROR_INTERRUPTED) ++ended;
    }
  });
  for (int n = 0; n < kInterruptions; ++n) {
    const int before = ended;
    EXPECT_EQ(kxcam_interrupt(0, true), 0);
    ASSERT_TRUE(eventually([&] { return ended > before; }));
    EXPECT_EQ(kxcam_interrupt(0, false), 0);
  }
  kxcam_interrupt(0, true);
  done = true;
  reader.join();
  EXPECT_EQ(statistics().delivered, delivered);
  EXPECT_EQ(statistics().failed, 0U);
}

TEST_F(Frames, AWaitEndsBehindAnotherOneToo) {
  const auto camera = open_silent();
  CameraSetTimeout(0, 50'000);
  std::thread first([] {
    Bytes image(kPixels);
    int size = kPixels;
    EXPECT_EQ(CameraQueryImage(0, image.data(), &size, KXCAM_FORMAT_RAW), 1U);
    EXPECT_EQ(kxcam_thread_error(), KXCAM_ERROR_NO_FRAME);
  });
  std::thread second([] { EXPECT_EQ(query(nullptr, -1), KXCAM_ERROR_INTERRUPTED); });
  EXPECT_EQ(query(nullptr, 20), KXCAM_ERROR_NO_FRAME);
  kxcam_interrupt(0, true);
  second.join();
  kxcam_interrupt(0, false);
  std::thread third([] { EXPECT_EQ(query(nullptr, -1), KXCAM_ERROR_NO_FRAME); });
  CameraFree(0);
  first.join();
  third.join();
}

TEST_F(Frames, TheDescriptorIsReadableWhileThereIsSomethingToQueryFor) {
  const auto camera = open_silent();
  const int fd = descriptor();
  EXPECT_FALSE(readable(fd));
  constexpr int kFrames = 200;
  camera->inject({.stream_frames = kFrames});
  std::atomic<int> taken = 0;
  const auto take = [&] {
    while (taken < kFrames && readable(fd, 60'000)) {
      const int cause = query(nullptr, 0);
      EXPECT_TRUE(cause == 0 || cause == KXCAM_ERROR_NO_FRAME || cause == KXCAM_ERROR_INTERRUPTED) << cause;
      if (cause == 0 && ++taken == kFrames) kxcam_interrupt(0, true);  // for those who still wait
    }
  };
  std::vector<std::thread> takers;
  for (int n = 0; n < 4; ++n) takers.emplace_back(take);
  for (std::thread& taker : takers) taker.join();
  EXPECT_EQ(taken, kFrames);
  EXPECT_TRUE(readable(fd)) << "interrupted";
  kxcam_interrupt(0, false);
  EXPECT_FALSE(readable(fd));

  camera->inject({.stream_frames = 1});
  ASSERT_TRUE(readable(fd, 60'000));
  CameraSetROI(0, 0, 0, 64, 48);
  EXPECT_FALSE(readable(fd)) << "a frame of the old geometry";
  bus_.unplug(*camera);
  EXPECT_TRUE(readable(fd, 60'000)) << "gone";
  EXPECT_EQ(descriptor(), fd);
}

TEST_F(Frames, AFullRingOfTheOldGeometryDoesNotKeepTheDescriptorSilent) {
  const auto camera = plug("3600,fps=0");
  ASSERT_EQ(CameraInit(0), 0U);
  const int fd = descriptor();
  ASSERT_TRUE(eventually([] { return statistics().waiting == 5; }));
  ASSERT_EQ(CameraSetROI(0, 0, 0, 64, 48), 0U);
  EXPECT_TRUE(readable(fd, 60'000));
  EXPECT_GE(statistics().old_geometry, 5U);
}

TEST_F(Frames, ACameraThatIsGoneEndsTheWaitAndGoesOnCountingWhenItIsBack) {
  const auto camera = open("3600");
  kxcam_frame before{};
  ASSERT_EQ(query(&before), 0);
  std::thread waiting([] {
    int cause = 0;
    while (cause == 0) cause = query(nullptr, -1);
    EXPECT_EQ(cause, KXCAM_ERROR_NO_DEVICE);
  });
  bus_.unplug(*camera);
  waiting.join();
  EXPECT_EQ(statistics().state, KXCAM_GONE);
  EXPECT_NE(CameraReconnect(0), 0U);
  EXPECT_EQ(statistics().state, KXCAM_GONE);
  EXPECT_EQ(query(nullptr, -1), KXCAM_ERROR_NO_DEVICE);
  bus_.plug(camera);
  ASSERT_EQ(CameraReconnect(0), 0U);
  kxcam_frame after{};
  ASSERT_EQ(query(&after), 0);
  EXPECT_GT(after.sequence, before.sequence);
  const kxcam_statistics now = statistics();
  EXPECT_EQ(now.reconnects, 1U);
  EXPECT_EQ(now.state, KXCAM_STREAMING);
  EXPECT_GT(now.transfer_errors, 0U);
  CameraFree(0);
  open_registers("3600");
  EXPECT_EQ(statistics().state, KXCAM_IDLE);
  EXPECT_EQ(query(), KXCAM_ERROR_NO_DEVICE);
  EXPECT_EQ(kxcam_interrupt(0, true), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(Frames, StructsOfOtherSizesAreFilledAsFarAsBothKnow) {
  open("3600");
  Bytes image(kPixels);
  constexpr size_t kGap = 64;
  struct {
    kxcam_statistics known;
    Bytes::value_type more[kGap];
  } larger;
  std::memset(&larger, 0xEE, sizeof larger);
  ASSERT_EQ(query(), 0);
  ASSERT_EQ(kxcam_get_statistics(0, &larger.known, sizeof larger), 0);
  EXPECT_GE(larger.known.delivered, 1U);
  EXPECT_EQ(std::ranges::count(larger.more, 0), static_cast<ptrdiff_t>(kGap));

  kxcam_frame smaller;
  std::memset(&smaller, 0xEE, sizeof smaller);
  constexpr size_t kOld = offsetof(kxcam_frame, exposure_ns);
  ASSERT_EQ(kxcam_query(0, image.data(), image.size(), KXCAM_FORMAT_RAW, -1, 0, &smaller, kOld), 0);
  EXPECT_LT(smaller.sequence, 1000U);
  const auto* bytes = reinterpret_cast<const uint8_t*>(&smaller);
  EXPECT_EQ(std::count(bytes + kOld, bytes + sizeof smaller, 0xEE),
            static_cast<ptrdiff_t>(sizeof smaller - kOld));
  EXPECT_EQ(kxcam_get_statistics(0, nullptr, 0), KXCAM_ERROR_ARGUMENT);
}

TEST(ThreadError, TellsEveryThreadItsOwn) {
  constexpr int kFailures = 500'000;
  const auto fail = [](int camera, int cause) {
    int mixed_up = 0;
    int value = 0;
    for (int n = 0; n < kFailures; ++n) {
      if (CameraGetGain(camera, &value) != 1 || kxcam_thread_error() != cause) ++mixed_up;
    }
    EXPECT_EQ(mixed_up, 0);
    EXPECT_EQ(CameraGetVersion(&value, &value), 0U);
    EXPECT_EQ(kxcam_thread_error(), 0);
  };
  std::thread other(fail, -1, KXCAM_ERROR_INDEX);
  fail(5, KXCAM_ERROR_NOT_OPEN);
  other.join();
  int size = 0;
  CameraQueryImage(300, nullptr, &size, KXCAM_FORMAT_RAW);
  EXPECT_EQ(kxcam_thread_error(), -1);
}

TEST(Messages, GoToTheProgramWhichGoesOnLiving) {
  const std::string path = testing::TempDir() + "malformed-" + std::to_string(getpid()) + ".conf";
  std::ofstream(path) << "Nonsense = 1\n";
  setenv("KXUSB_CONF", path.c_str(), 1);
  std::vector<std::string> messages;
  kxcam_set_message_handler(
      [](const char* text, void* data) { static_cast<std::vector<std::string>*>(data)->emplace_back(text); },
      &messages);
  testing::internal::CaptureStdout();
  int count = -1;
  EXPECT_EQ(CameraGetCount(&count), 0U);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(messages, std::vector<std::string>{"Error in config file " + path + ": Nonsense"});
  setenv("KXUSB_CONF", "/nowhere", 1);
  CameraGetCount(&count);
  EXPECT_EQ(messages.back(), "/nowhere file not found. Exiting");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

  kxcam_set_message_handler(nullptr, nullptr);
  testing::internal::CaptureStdout();
  CameraGetCount(&count);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "/nowhere file not found. Exiting\n");
  std::remove(path.c_str());
}

/// Looks for cameras in a process that has neither output; ends it with 7 if the library did not.
void count_without_outputs(const char* configuration, bool handles_messages) {
  const std::string path = testing::TempDir() + "kxusb-" + std::to_string(getpid()) + ".conf";
  if (configuration != nullptr) std::ofstream(path) << configuration;
  setenv("KXUSB_CONF", path.c_str(), 1);
  close(STDOUT_FILENO);
  close(STDERR_FILENO);
  if (handles_messages) kxcam_set_message_handler([](const char*, void*) {}, nullptr);
  int count = -1;
  CameraGetCount(&count);
  std::remove(path.c_str());
  _exit(count == 0 ? 7 : 8);
}

TEST(Messages, NeedNoOutputs) {
  EXPECT_EXIT(count_without_outputs("Nonsense = 1\n", true), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(count_without_outputs("Nonsense = 1\n", false), testing::ExitedWithCode(1), "");
  EXPECT_EXIT(count_without_outputs(nullptr, false), testing::ExitedWithCode(7), "");
}

TEST(Messages, EveryCauseHasAText) {
  for (const int code : {-1, 0, 1, 2, 3, 4, 5, 6, 8, 10, 11, 12, 17, 18, 19, 20, 21, 22}) {
    EXPECT_STRNE(kxcam_error_text(code), kxcam_error_text(999)) << code;
    EXPECT_NE(kxcam_error_remedy(code), nullptr);
  }
}

}  // namespace
}  // namespace kxcam::test
