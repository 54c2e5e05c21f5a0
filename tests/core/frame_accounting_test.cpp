// SPDX-License-Identifier: Apache-2.0
#include <thread>

#include "camera_bus.h"
#include "core/acquisition/frame_ring.h"
#include "core/registry/contexts.h"
#include "eventually.h"
#include "sync/clock.h"

namespace kxcam::test {
namespace {

using Action = kxsim::FrameFault::Action;

class FrameAccounting : public CameraBus {
 protected:
  static FrameCounters counters() { return context_at(0)->stream.ring->counters(); }

  /// Opens a camera that sends nothing yet: frames during the open may be void, and would count too.
  std::shared_ptr<kxsim::SimulatedCamera> open_silent(const char* options) {
    auto camera = plug(options);
    camera->set_frame_source(kxsim::fill_numbered_frame);
    camera->inject({.stream_frames = 0});
    EXPECT_EQ(CameraInit(0), 0U);
    return camera;
  }
};

TEST_F(FrameAccounting, EveryFrameIsCountedOnceHoweverManyTransfersItTakes) {
  const auto camera = open_silent("3A00,fps=0");  // 3664 x 2748: two transfers
  camera->inject({.frames = {{.action = Action::kShort, .which = {1, 1}, .bytes = 1},
                             {.action = Action::kShort, .which = {2, 2}, .bytes = 5'000'000},
                             {.action = Action::kLong, .which = {3, 3}, .bytes = 1},
                             {.action = Action::kLong, .which = {5, 5}, .bytes = 20'000'000}},
                  .stream_frames = 6});
  EXPECT_TRUE(eventually([] { return context_at(0)->stream.ring->waiting() == 2; }));
  EXPECT_EQ(counters().short_frames, 2U);
  EXPECT_EQ(counters().long_frames, 2U);
  EXPECT_EQ(camera->counters().frames_sent, 6U);
  EXPECT_FALSE(query_raw().empty());
  EXPECT_EQ(CameraClearHostBuffer(0), 0U);
  EXPECT_EQ(counters().delivered, 1U);
  EXPECT_EQ(counters().flushed, 1U);
}

TEST_F(FrameAccounting, AFrameWithoutAnEndIsCountedWithItsTransfer) {
  const auto camera = open_silent("3600,fps=0");
  // Of whole packets, or the next frame would overrun the host's read.
  constexpr size_t kRest = 720 * 540 % 1024;
  camera->inject({.frames = {{.action = Action::kUnended, .which = {1, 1}, .bytes = kRest},
                             {.action = Action::kUnended, .which = {3, 3}, .bytes = kRest}},
                  .stream_frames = 3});
  // The second one runs on from the first, and nothing from the third.
  EXPECT_TRUE(eventually([] { return counters().timed_out == 1; }));
  EXPECT_EQ(counters().long_frames, 1U);
  EXPECT_EQ(counters().short_frames, 0U);
  EXPECT_EQ(camera->counters().frames_unended, 2U);
  EXPECT_EQ(camera->counters().cut_reads, 1U);
}

TEST_F(FrameAccounting, AQueryOfThePastLeavesTheFramesOfThePresent) {
  const auto camera = open("3600");
  ASSERT_EQ(CameraClearHostBuffer(0), 0U);
  camera->inject({.stream_frames = 0});
  CameraClearHostBuffer(0);
  CameraClearHostBuffer(0);
  CameraSetTimeout(0, 50'000);
  std::thread waiting([] { EXPECT_TRUE(query_raw(1).empty()); });
  sysdelay(50);
  const uint64_t dropped = counters().old_geometry;
  EXPECT_EQ(CameraSetROI(0, 0, 0, 64, 48), 0U);
  camera->clear_faults();
  EXPECT_FALSE(query_raw().empty());
  waiting.join();
  EXPECT_EQ(counters().old_geometry, dropped);
}

TEST_F(FrameAccounting, PicturesOfANewGeometryDoNotWaitForTheSensorsDelay) {
  const auto camera = open("3A00");
  CameraSetTimeout(0, 20'000);
  camera->inject({.requests = {{.action = kxsim::RequestFault::Action::kTimeout, .code = 0xA6}}});
  std::thread setter([] { CameraSetROI(0, 0, 0, 64, 48); });
  int size = 0;
  EXPECT_TRUE(eventually([&] { return (size = buffer_size(KXCAM_FORMAT_GREY)) == 64 * 48; }));
  sysdelay(20);  // for the map, on a slow machine
  std::vector<uint8_t> picture(64 * 48);
  EXPECT_EQ(CameraQueryImage(0, picture.data(), &size, KXCAM_FORMAT_GREY), 0U);
  EXPECT_EQ(counters().not_delivered, 0U);
  setter.join();
}

}  // namespace
}  // namespace kxcam::test
