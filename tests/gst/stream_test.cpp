// SPDX-License-Identifier: Apache-2.0

// Frames in time: stamps, losses, waits that end, cameras that go and come back.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gst/base/gstbasesrc.h>

#include "device/fault_script.h"
#include "element_bus.h"
#include "eventually.h"

namespace kxcam::test {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

class GstStream : public ElementBus {
 protected:
  static bool is_discont(const Buffer& buffer) {
    return GST_BUFFER_FLAG_IS_SET(buffer.get(), GST_BUFFER_FLAG_DISCONT) != 0;
  }
};

/// Holds the element's first buffer back, so that those that follow wait in the camera's ring.
struct Stall {
  std::atomic<bool> begun = false;
  std::atomic<bool> over = false;

  static GstPadProbeReturn hold(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer data) {
    auto& stall = *static_cast<Stall*>(data);
    stall.begun = true;
    eventually([&] { return stall.over.load(); });
    return GST_PAD_PROBE_REMOVE;
  }
};

TEST_F(GstStream, StampsAreTheTimesOfArrival) {
  plug_still("3600,fps=20");
  Element element("", "video/x-raw,width=360");
  ASSERT_EQ(element.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  // The ring is full of old frames before the stream begins.
  ASSERT_TRUE(eventually([&] { return element.statistic("ended") >= 5; }));
  Stall stall;
  GstPad* pad = gst_element_get_static_pad(element.get(), "src");
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, Stall::hold, &stall, nullptr);
  gst_object_unref(pad);
  element.play();
  const GstClockTime base = gst_element_get_base_time(element.get());
  ASSERT_TRUE(eventually([&] { return stall.begun.load(); }));
  const uint64_t before_stall = element.statistic("ended");
  EXPECT_TRUE(eventually([&] { return element.statistic("ended") >= before_stall + 5; }));
  const GstClockTime end_of_stall = gst_util_get_timestamp() - base;
  stall.over = true;
  auto buffers = element.pull(8);
  for (size_t i = 0; i < buffers.size(); ++i) {
    GstBuffer* buffer = buffers[i].get();
    ASSERT_NE(buffer, nullptr);
    GstReferenceTimestampMeta* meta = gst_buffer_get_reference_timestamp_meta(buffer, nullptr);
    ASSERT_NE(meta, nullptr);
    const int64_t unix_now = g_get_real_time() * 1000;
    EXPECT_LT(std::abs(unix_now - static_cast<int64_t>(meta->timestamp)), int64_t{3600} * 1'000'000'000);
    EXPECT_EQ(GST_BUFFER_OFFSET_END(buffer), GST_BUFFER_OFFSET(buffer) + 1);
    if (i == 0) {
      EXPECT_TRUE(is_discont(buffers[i]));
      EXPECT_LT(GST_BUFFER_PTS(buffer), gst_util_get_timestamp() - base);
      continue;
    }
    const GstBuffer* before = buffers[i - 1].get();
    EXPECT_GT(GST_BUFFER_PTS(buffer), GST_BUFFER_PTS(before));
    if (i < 4) {
      EXPECT_LT(GST_BUFFER_PTS(buffer), end_of_stall) << "the time of leaving the ring";
    }
  }
}

TEST_F(GstStream, LossesAreTold) {
  const auto camera = plug_still("3600,fps=20");
  camera->inject(kxsim::parse_fault_script("frame 4-5 short 512", 1));
  Element element("", "video/x-raw,width=360");
  element.play();
  uint64_t expected = 0;
  uint64_t lost = 0;
  for (int i = 0; i < 50 && lost == 0; ++i) {
    const Buffer buffer = element.pull();
    ASSERT_NE(buffer, nullptr);
    const uint64_t offset = GST_BUFFER_OFFSET(buffer.get());
    if (i > 0) lost = offset - expected;
    EXPECT_TRUE(lost == 0 || is_discont(buffer));
    expected = offset + 1;
  }
  EXPECT_EQ(lost, 2U);
  EXPECT_EQ(element.statistic("too-short"), 2U);
  const Message qos = element.message(GST_MESSAGE_QOS);
  ASSERT_NE(qos, nullptr);
  guint64 dropped = 0;
  gst_message_parse_qos_stats(qos.get(), nullptr, nullptr, &dropped);
  EXPECT_GE(dropped, 2U);
}

TEST_F(GstStream, BuffersAreUsedAgain) {
  plug_still("3600,fps=0");
  Element element("", "video/x-raw,width=360");
  element.play();
  std::set<const void*> memories;
  for (int i = 0; i < 20; ++i) {
    const Buffer buffer = element.pull();
    ASSERT_NE(buffer, nullptr);
    GstMapInfo map;
    ASSERT_TRUE(gst_buffer_map(buffer.get(), &map, GST_MAP_READ));
    memories.insert(map.data);
    gst_buffer_unmap(buffer.get(), &map);
  }
  EXPECT_LT(memories.size(), 20U);
}

TEST_F(GstStream, TriggeredPicturesWaitForever) {
  plug_still("3600");
  Element element("trigger=true timeout=0", "video/x-raw,width=360");
  element.play();
  for (int shot = 0; shot < 3; ++shot) {
    // A trigger that comes before the camera waits for it is lost.
    ASSERT_TRUE(eventually([&] {
      element.act("trigger-shot");
      const auto until = Clock::now() + milliseconds(500);
      Buffer picture;
      while (picture == nullptr && Clock::now() < until) {
        picture.reset(gst_harness_try_pull(element.harness()));
        std::this_thread::sleep_for(milliseconds(1));
      }
      return picture != nullptr;
    }));
  }
  EXPECT_EQ(element.message(GST_MESSAGE_ERROR, 0), nullptr);
}

TEST_F(GstStream, AWaitWithoutAFrameIsAnErrorInTime) {
  plug_still("3600");
  Element element("trigger=true timeout=50", "ANY");
  element.play();
  EXPECT_THAT(element.error(), AllOf(HasSubstr("no frame within 50 ms"), HasSubstr("trigger")));
}

TEST_F(GstStream, APulledCableIsAnErrorWithTheRemedy) {
  const auto camera = plug_still("3600");
  Element element;
  element.play();
  ASSERT_NE(element.pull(), nullptr);
  bus_.unplug(*camera);
  EXPECT_THAT(element.error(), AllOf(HasSubstr("is gone"), HasSubstr("reconnect=true")));
  EXPECT_EQ(element.set_state(GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
  Element again;
  EXPECT_EQ(again.set_state(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  EXPECT_THAT(again.error(), HasSubstr("Check cable"));
}

TEST_F(GstStream, GoesOnWhenTheCableIsBack) {
  const auto camera = plug_still("3600");
  Element element("reconnect=true gain=33");
  element.play();
  Buffer before = element.pull();
  bus_.unplug(*camera);
  Message message = element.message(GST_MESSAGE_ELEMENT);
  ASSERT_NE(message, nullptr);
  EXPECT_TRUE(gst_message_has_name(message.get(), "kxcam-lost"));
  bus_.plug(camera, 7);
  message = element.message(GST_MESSAGE_ELEMENT);
  ASSERT_NE(message, nullptr);
  EXPECT_TRUE(gst_message_has_name(message.get(), "kxcam-back"));
  Buffer after;
  do {
    after = element.pull();
    ASSERT_NE(after, nullptr);
  } while (!is_discont(after) || GST_BUFFER_OFFSET(after.get()) == GST_BUFFER_OFFSET(before.get()));
  EXPECT_GT(GST_BUFFER_PTS(after.get()), GST_BUFFER_PTS(before.get()));
  EXPECT_GT(GST_BUFFER_OFFSET(after.get()), GST_BUFFER_OFFSET(before.get()));
  EXPECT_EQ(element.property("gain"), "33");
  EXPECT_EQ(element.statistic("reconnects"), 1U);
}

TEST_F(GstStream, ASilentCameraIsBroughtBackToo) {
  const auto camera = plug_still("3600");
  Element element("reconnect=true timeout=0");
  element.play();
  ASSERT_NE(element.pull(), nullptr);
  // The library resets the camera, and a newer bridge sends no more then.
  camera->inject(kxsim::parse_fault_script("bulk 1 error", 1));
  const Message message = element.message(GST_MESSAGE_ELEMENT);
  ASSERT_NE(message, nullptr);
  while (gst_harness_buffers_in_queue(element.harness()) > 0) element.pull();
  EXPECT_NE(element.pull(), nullptr);
}

TEST_F(GstStream, TwoElementsNeverShareACamera) {
  plug_still("3600,serial=A");
  plug_still("3600,serial=B");
  Element first("serial=B");
  ASSERT_EQ(first.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  EXPECT_EQ(first.property("serial"), "B");
  Element same("serial=B");
  EXPECT_EQ(same.set_state(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  EXPECT_THAT(same.error(), HasSubstr("in use"));
  Element any;
  ASSERT_EQ(any.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS) << any.error();
  EXPECT_EQ(any.property("serial"), "A");
  Element third;
  EXPECT_EQ(third.set_state(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  EXPECT_THAT(third.error(), HasSubstr("in use"));
  Element unknown("serial=C");
  EXPECT_EQ(unknown.set_state(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  EXPECT_THAT(unknown.error(), HasSubstr("There is no camera C"));
}

// What the camera does while the state changes.
struct Situation {
  const char* name;
  const char* properties;
  bool gone;
};
void PrintTo(const Situation& situation, std::ostream* out) {
  *out << situation.properties;
}
constexpr Situation kSituations[] = {
    {"Streaming", "timeout=0", false},
    {"WaitingForATrigger", "trigger=true timeout=0", false},
    {"WaitingForACable", "reconnect=true timeout=0", true},
};

size_t entries(const char* folder) {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

class GstStop : public GstStream, public testing::WithParamInterface<Situation> {};

TEST_P(GstStop, NeverWaitsForTheCamera) {
  const auto camera = plug_still("3600");
  Element element(GetParam().properties, "video/x-raw,width=360");
  element.play();
  if (GetParam().gone) bus_.unplug(*camera);
  Clock::duration longest{};
  const auto stop = [&](GstState state) {
    const auto begun = Clock::now();
    EXPECT_NE(element.set_state(state), GST_STATE_CHANGE_FAILURE);
    longest = std::max(longest, Clock::now() - begun);
    element.set_state(GST_STATE_PLAYING);
  };
  for (int i = 0; i < 100; ++i) {
    std::this_thread::sleep_for(milliseconds(i % 7));
    stop(GST_STATE_PAUSED);
    std::this_thread::sleep_for(milliseconds(i % 5));
    stop(GST_STATE_READY);
  }
  RecordProperty("longest_us",
                 static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(longest).count()));
  // Not a tenth of what a transfer may wait; the machine may be busy with all else.
  EXPECT_LT(longest, milliseconds(300));
}

INSTANTIATE_TEST_SUITE_P(In, GstStop, testing::ValuesIn(kSituations),
                         [](const auto& row) { return std::string(row.param.name); });

// Many at a time, as each spends most of it in the pauses of a close.
TEST_F(GstStream, StartsAndStopsLeaveNothingBehind) {
  constexpr int kCameras = 5;
  // All of it takes a minute: KXCAM_EVERY_FAULT=1.
  const int kTimes = std::getenv("KXCAM_EVERY_FAULT") != nullptr ? 40 : 2;
  std::vector<std::unique_ptr<Element>> elements;
  for (int i = 0; i < kCameras; ++i) {
    const std::string serial = "S" + std::to_string(i);
    plug_still("3600,serial=" + serial);
    elements.push_back(std::make_unique<Element>(
        "serial=" + serial + (i % 2 == 0 ? " trigger=true timeout=0" : ""), "video/x-raw,width=360"));
  }
  const auto all = [&](int times) {
    std::vector<std::thread> threads;
    for (const auto& element : elements) {
      threads.emplace_back([&element, times] {
        for (int n = 0; n < times; ++n) {
          EXPECT_NE(element->set_state(GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
          std::this_thread::sleep_for(milliseconds(n));
          EXPECT_EQ(element->set_state(GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
        }
      });
    }
    for (auto& thread : threads) thread.join();
  };
  all(1);
  const size_t descriptors = entries("/proc/self/fd");
  const size_t threads = entries("/proc/self/task");
  all(kTimes - 1);
  EXPECT_EQ(bus_.open_nodes(), 0U);
  EXPECT_LE(entries("/proc/self/fd"), descriptors);
  EXPECT_LE(entries("/proc/self/task"), threads + 2) << "GStreamer keeps some of its own";
}

}  // namespace
}  // namespace kxcam::test
