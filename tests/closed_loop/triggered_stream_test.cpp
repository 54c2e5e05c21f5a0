// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <cstring>
#include <future>
#include <optional>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core/registry/model_table.h"
#include "core/sensors/sensor_family.h"
#include "exposure_run.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

using namespace std::chrono_literals;

constexpr int kTriggered = 2;
constexpr int kFreeRunning = 1;
constexpr uint8_t kTakenInTriggerMode = 200;

/// An open camera whose pictures tell in which mode they were taken.
class TriggeredStream : public testing::TestWithParam<const CameraModel*> {
 protected:
  void SetUp() override {
    run_.emplace(*GetParam(), ExposureRun::Options{});
    kxsim::SimulatedCamera& camera = run_->camera();
    camera.set_frame_source([&camera](const kxsim::FrameRequest&, std::span<uint8_t> out) {
      std::memset(out.data(), camera.waits_for_trigger() ? kTakenInTriggerMode : 10, out.size());
    });
    ASSERT_EQ(CameraSetAEC(0, 0), 0U);
    // A read of the size before the window may still wait; it would swallow the first shot.
    ASSERT_TRUE(next_frame().has_value());
  }

  /// First byte of the next frame; nothing when none comes within that time.
  std::optional<uint8_t> next_frame(std::chrono::milliseconds patience = 300s) {
    run_->context().parameter.time_out = static_cast<int32_t>(patience.count());
    int size = 0;
    CameraGetImageBufferSize(0, &size, KXCAM_FORMAT_RAW);
    std::vector<uint8_t> frame(static_cast<size_t>(size));
    if (CameraQueryImage(0, frame.data(), &size, KXCAM_FORMAT_RAW) != 0) return std::nullopt;
    return frame.front();
  }

  void expect_silence() { EXPECT_EQ(next_frame(100ms), std::nullopt); }

  void expect_triggered_frames(int count) {
    for (int frame = 0; frame < count; ++frame) EXPECT_EQ(next_frame(), kTakenInTriggerMode);
    expect_silence();
  }

  void expect_shots_at_any_time();

  std::optional<ExposureRun> run_;
};

TEST_P(TriggeredStream, GivesOnePicturePerShotAndNoneWithout) {
  ASSERT_EQ(CameraSetSnapMode(0, kTriggered), 0U);
  expect_silence();
  EXPECT_EQ(CameraTriggerShot(0), 0U);
  expect_triggered_frames(1);

  // Not every bridge takes the number of pictures.
  CameraSetSnapNum(0, 3);
  const int burst = run_->camera().inspect([](const kxsim::Bridge& bridge) { return bridge.snap_count(); });
  EXPECT_EQ(CameraTriggerShot(0), 0U);
  expect_triggered_frames(burst);

  CameraSetSnapNum(0, 1);
  expect_shots_at_any_time();

  ASSERT_EQ(CameraSetSnapMode(0, kFreeRunning), 0U);
  for (int frame = 0; frame < 10; ++frame) EXPECT_EQ(next_frame(), 10);
}

/// Shots faster than the frames, and one from another thread while a query waits.
void TriggeredStream::expect_shots_at_any_time() {
  for (int shot = 0; shot < 10; ++shot) EXPECT_EQ(CameraTriggerShot(0), 0U);
  int frames = 0;
  for (auto frame = next_frame(); frame; frame = next_frame(1s)) {
    EXPECT_EQ(frame, kTakenInTriggerMode);
    ASSERT_LE(++frames, 10);
  }
  EXPECT_GE(frames, 1);

  auto waiting = std::async(std::launch::async, [this] { return next_frame(); });
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(waiting.wait_for(0s), std::future_status::timeout);
  EXPECT_EQ(CameraTriggerShot(0), 0U);
  EXPECT_EQ(waiting.get(), kTakenInTriggerMode);
}

INSTANTIATE_TEST_SUITE_P(Sensor, TriggeredStream, testing::ValuesIn(exposable_models()),
                         [](const auto& sensor) { return fmt::format("MID_{:X}", sensor.param->MID); });

}  // namespace
}  // namespace kxcam
