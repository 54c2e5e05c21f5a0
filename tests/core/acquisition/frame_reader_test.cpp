// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sched.h>

#include "camera_bus.h"
#include "kxcam/extra.h"

namespace kxcam::test {
namespace {

using Action = kxsim::FrameFault::Action;

class FrameReader : public CameraBus {
 protected:
  /// Opens a camera whose samples are none of them 0 and whose frames have `bytes` bytes, however many its
  /// bridge would send.
  std::shared_ptr<kxsim::SimulatedCamera> open_sending(const std::string& model, size_t bytes) {
    auto camera = plug(model + ",fps=100");
    camera->set_frame_source([this](const kxsim::FrameRequest&, std::span<uint8_t> out) {
      sent_by_bridge_ = out.size();
      std::memset(out.data(), 77, out.size());
    });
    EXPECT_EQ(CameraInit(0), 0U);
    EXPECT_FALSE(query_raw().empty());
    const size_t usual = sent_by_bridge_;
    const bool longer = bytes > usual;
    camera->inject({.frames = {{.action = longer ? Action::kLong : Action::kShort,
                                .bytes = longer ? bytes - usual : usual - bytes}}});
    CameraClearHostBuffer(0);
    CameraClearHostBuffer(0);
    return camera;
  }

  std::atomic<size_t> sent_by_bridge_ = 0;  ///< written by the camera
};

TEST_F(FrameReader, ATwelveBitFrameHasOneByteOrTwoAPixelAndNothingElse) {
  constexpr size_t kPixels = 720 * 540;
  struct Row {
    size_t bytes;
    bool whole;
  };
  for (const Row row : {Row{kPixels, true},
                        {2 * kPixels, true},
                        {kPixels + 1, false},
                        {2 * kPixels - 1, false},
                        {2 * kPixels + 1, false},
                        {kPixels - 1, false}}) {
    SCOPED_TRACE(row.bytes);
    const auto camera = open_sending("369B", row.bytes);
    const std::vector<uint8_t> frame = query_raw(row.whole ? 20 : 1);
    ASSERT_EQ(!frame.empty(), row.whole);
    if (row.whole) {
      // A fault appends zeros.
      std::vector<uint8_t> expected(std::min(row.bytes, sent_by_bridge_.load()), 77);
      expected.resize(2 * kPixels);
      EXPECT_TRUE(frame == expected);
    }
    CameraFree(0);
    bus_.unplug_all();
  }
}

TEST_F(FrameReader, TheFirstFrameAfterOpenIsDelivered) {
  for (const char* model : {"369B", "3600"}) {
    SCOPED_TRACE(model);
    const auto camera = plug(std::string(model) + ",fps=0");
    camera->inject({.stream_frames = 1});
    ASSERT_EQ(CameraInit(0), 0U);
    EXPECT_FALSE(query_raw().empty());
    CameraFree(0);
    bus_.unplug_all();
  }
}

TEST_F(FrameReader, TheFirstShotAfterAChangeOfGeometryIsDelivered) {
  open("3600");
  constexpr int kTriggered = 2;
  ASSERT_EQ(CameraSetSnapMode(0, kTriggered), 0U);
  CameraSetTimeout(0, 10'000);
  for (const int height : {48, 96, 32}) {  // as many pixels in three shapes
    SCOPED_TRACE(height);
    ASSERT_EQ(CameraSetROI(0, 0, 0, 64 * 48 / height * 2, height), 0U);
    ASSERT_EQ(CameraTriggerShot(0), 0U);
    EXPECT_FALSE(query_raw(1).empty());
  }
  ASSERT_EQ(CameraSetResolution(0, 0, nullptr, nullptr), 0U);
  ASSERT_EQ(CameraTriggerShot(0), 0U);
  EXPECT_FALSE(query_raw(1).empty());
}

/// Threads of this process that run in real time with that priority.
int threads_of_priority(int priority) {
  int count = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    const pid_t thread = std::stoi(task.path().filename());
    sched_param own{};
    const bool real_time = (sched_getscheduler(thread) & ~SCHED_RESET_ON_FORK) == SCHED_FIFO;
    if (real_time && sched_getparam(thread, &own) == 0 && own.sched_priority == priority) ++count;
  }
  return count;
}

TEST_F(FrameReader, TakesThePriorityThatIsAskedForOrSaysThatItCannot) {
  std::vector<std::string> messages;
  kxcam_set_message_handler(
      [](const char* text, void* data) { static_cast<std::vector<std::string>*>(data)->emplace_back(text); },
      &messages);
  const auto open_with = [&](const char* priority) {
    setenv("KXCAM_READER_PRIORITY", priority, 1);
    messages.clear();
    open("3600");
    EXPECT_FALSE(query_raw().empty());
  };
  open_with("7");
  EXPECT_EQ(threads_of_priority(7), messages.empty() ? 1 : 0);
  for (const char* wrong : {"100", "7 "}) {
    SCOPED_TRACE(wrong);
    CameraFree(0);
    bus_.unplug_all();
    open_with(wrong);
    EXPECT_THAT(messages, testing::ElementsAre(testing::HasSubstr("KXCAM_READER_PRIORITY")));
  }
  kxcam_set_message_handler(nullptr, nullptr);
  CameraFree(0);
  bus_.unplug_all();
  testing::internal::CaptureStderr();
  open_with("100");
  unsetenv("KXCAM_READER_PRIORITY");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "nothing is printed";
}

}  // namespace
}  // namespace kxcam::test
