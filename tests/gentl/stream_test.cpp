// SPDX-License-Identifier: Apache-2.0
// Pictures through the producer: the same as the library's own, numbered, timed, and ended when they have to.
#include <algorithm>
#include <functional>
#include <thread>

#include <gmock/gmock.h>

#include "cameras_in_a_program.h"
#include "kxcam/extra.h"

namespace kxcam::test {
namespace {

/// Every sample tells where on the sensor it is.
void fill_with_places(const kxsim::FrameRequest& request, std::span<uint8_t> out) {
  const int width = request.readout.width;
  const int height = request.readout.height;
  const bool two_bytes = out.size() > static_cast<size_t>(width) * static_cast<size_t>(height);
  uint8_t* to = out.data();
  for (int y = request.readout.y; y < request.readout.y + height; ++y) {
    for (int x = request.readout.x; x < request.readout.x + width; ++x) {
      *to++ = static_cast<uint8_t>(x * 7 + y * 13 + x * y / 64);
      if (two_bytes) *to++ = static_cast<uint8_t>((x ^ y) % 16);
    }
  }
}

class Pictures : public CamerasInAProgram {
 protected:
  using Action = kxsim::FrameFault::Action;

  int64_t feature(const char* name) { return camera_->integer(name); }
};

struct Kind {
  const char* model;
  std::vector<std::pair<const char*, int>> formats;  ///< by standard name and the library's

  friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.model; }
};

const Kind kKinds[] = {
    {"3030",
     {{"RGB8", KXCAM_FORMAT_COLOR},
      {"BGR8", KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR},
      {"Mono8", KXCAM_FORMAT_GREY},
      {"BayerBG8", KXCAM_FORMAT_RAW}}},
    {"0120", {{"RGB8", KXCAM_FORMAT_COLOR}, {"BayerGR8", KXCAM_FORMAT_RAW}}},
    {"303B", {{"Mono8", KXCAM_FORMAT_GREY}}},
    {"369B", {{"Mono8", KXCAM_FORMAT_GREY}, {"Mono12", KXCAM_FORMAT_RAW}}},
};

struct Case {
  const char* name;
  int format;
  bool region;
  bool mirrored;
};
constexpr int kX = 32;
constexpr int kY = 24;
constexpr int kWidth = 256;
constexpr int kHeight = 160;

std::vector<Case> cases_of(const Kind& kind) {
  std::vector<Case> cases;
  for (const auto& [region, mirrored] :
       {std::pair(false, false), std::pair(true, false), std::pair(true, true)}) {
    for (const auto& [name, format] : kind.formats) {
      if (!mirrored || format != KXCAM_FORMAT_RAW) cases.push_back({name, format, region, mirrored});
    }
  }
  return cases;
}

/// What the library itself makes of such a camera.
std::vector<std::vector<uint8_t>> pictures_of_library(const std::vector<Case>& cases) {
  std::vector<std::vector<uint8_t>> pictures;
  EXPECT_EQ(CameraInit(0), 0U);
  CameraSetTimeout(0, 50000);
  for (const Case& each : cases) {
    CameraSetMirrorX(0, each.mirrored);
    if (each.region) {
      EXPECT_EQ(kxcam_set_region(0, kX, kY, kWidth, kHeight), 0);
    }
    int size = 0;
    EXPECT_EQ(CameraGetImageBufferSize(0, &size, each.format), 0U);
    pictures.emplace_back(static_cast<size_t>(size));
    // Those of before may be as large: the ring holds five, and the camera one.
    for (int n = 0; n < 7; ++n) {
      EXPECT_EQ(CameraQueryImage(0, pictures.back().data(), &size, each.format), 0U);
    }
  }
  CameraFree(0);
  return pictures;
}

class EveryKind : public Pictures, public testing::WithParamInterface<Kind> {};

TEST_P(EveryKind, HasThePicturesOfTheLibraryInEveryFormatAndRegion) {
  const Kind& kind = GetParam();
  plug(std::string(kind.model) + ",serial=P,fps=0")->set_frame_source(fill_with_places);
  const std::vector<Case> cases = cases_of(kind);
  const auto expected = pictures_of_library(cases);
  ASSERT_NO_FATAL_FAILURE(open("P"));
  for (size_t n = 0; n < cases.size(); ++n) {
    const Case& each = cases[n];
    SCOPED_TRACE(std::string(kind.model) + " " + each.name + (each.region ? " region" : "") +
                 (each.mirrored ? " mirrored" : ""));
    EXPECT_EQ(camera_->set("PixelFormat", each.name), 0);
    if (each.format != KXCAM_FORMAT_RAW) {
      EXPECT_EQ(camera_->set("ReverseX", each.mirrored ? 1 : 0), 0);
    }
    if (each.region) {
      EXPECT_EQ(camera_->set("Width", kWidth), 0);
      EXPECT_EQ(camera_->set("Height", kHeight), 0);
      EXPECT_EQ(camera_->set("OffsetX", kX), 0);
      EXPECT_EQ(camera_->set("OffsetY", kY), 0);
    }
    Acquisition pictures(producer_, device_, *camera_);
    pictures.announce(2, n % 2 == 0);
    pictures.start();
    const auto got = pictures.next();
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.width, static_cast<size_t>(feature("Width")));
    EXPECT_EQ(got.height, static_cast<size_t>(feature("Height")));
    EXPECT_EQ(got.pixel_format, static_cast<uint64_t>(feature("PixelFormat")));
    EXPECT_FALSE(got.incomplete);
    EXPECT_TRUE(got.bytes == expected[n]);
    EXPECT_EQ(camera_->set("Width", 64), kAccessDenied) << "while pictures are taken";
    pictures.stop();
  }
  close();
}

INSTANTIATE_TEST_SUITE_P(Pictures, EveryKind, testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.model); });

TEST_F(Pictures, OfARawRegionAreNotMirroredButOfTheSamePlace) {
  plug("3030,serial=P,fps=0")->set_frame_source(fill_with_places);
  ASSERT_NO_FATAL_FAILURE(open("P"));
  ASSERT_EQ(camera_->set("ReverseX", 1), 0);
  ASSERT_EQ(camera_->set("ReverseY", 1), 0);
  ASSERT_EQ(camera_->set("PixelFormat", "BayerBG8"), 0);
  EXPECT_FALSE(camera_->writable("ReverseX"));
  ASSERT_EQ(camera_->set("Width", 64), 0);
  ASSERT_EQ(camera_->set("Height", 32), 0);
  ASSERT_EQ(camera_->set("OffsetX", 48), 0);
  ASSERT_EQ(camera_->set("OffsetY", 16), 0);
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(2);
  pictures.start();
  const auto got = pictures.next();
  std::vector<uint8_t> expected(64 * 32);
  kxsim::FrameRequest request;
  request.readout.x = 48;
  request.readout.y = 16;
  request.readout.width = 64;
  request.readout.height = 32;
  fill_with_places(request, expected);
  EXPECT_TRUE(got.bytes == expected);
  pictures.stop();
}

TEST_F(Pictures, HaveNumbersWithGapsAndTheTimeOfArrival) {
  const auto camera = plug("3600,serial=P,fps=0");
  camera->inject({.stream_frames = 0});
  ASSERT_NO_FATAL_FAILURE(open("P"));
  ASSERT_EQ(camera_->set("PixelFormat", camera_->choices("PixelFormat").back()), 0);
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(12);
  pictures.start();
  const int64_t before = feature("kxcamFramesEnded");
  camera->inject(
      {.frames = {{.action = Action::kShort, .which = {6, 8}, .bytes = 100}}, .stream_frames = 12});
  // Nothing is taken until all have arrived: the times must not be those of taking them.
  ASSERT_TRUE(eventually([&] { return feature("kxcamFramesEnded") == before + 12; }));
  ASSERT_TRUE(eventually([&] { return info<uint64_t>(producer_, "DSGetInfo", 1, pictures.stream()) == 9; }));
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const uint64_t now_ns =
      static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
  std::vector<Acquisition::Delivered> got;
  for (int n = 0; n < 9; ++n) got.push_back(pictures.take());
  for (size_t n = 1; n < got.size(); ++n) {
    EXPECT_EQ(got[n].frame - got[n - 1].frame, n == 5 ? 4U : 1U);
    EXPECT_EQ(number_of(got[n].bytes) - number_of(got[n - 1].bytes), n == 5 ? 4 : 1);
    EXPECT_GT(got[n].arrived_ns, got[n - 1].arrived_ns);
  }
  EXPECT_EQ(feature("kxcamLostTooShort"), 3);
  EXPECT_LT(got.back().arrived_ns, now_ns);
  pictures.stop();
}

TEST_F(Pictures, ThatNoBufferIsQueuedForAreCounted) {
  plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(1);
  pictures.start();
  const auto first = pictures.take();
  const auto lost = [&] { return info<uint64_t>(producer_, "DSGetInfo", 2, pictures.stream()); };
  ASSERT_TRUE(eventually([&] { return lost() >= 3; }));
  pictures.queue(first.buffer);
  const auto next = pictures.next();
  EXPECT_GE(next.frame, first.frame + 4);
  pictures.stop();
}

TEST_F(Pictures, EndByThemselvesWhenTheyAreCounted) {
  plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  const auto expect = [&](int expected, uint64_t asked) {
    Acquisition pictures(producer_, device_, *camera_);
    pictures.announce(6);
    pictures.start(asked);
    for (int n = 0; n < expected; ++n) EXPECT_EQ(pictures.next().status, 0);
    EXPECT_EQ(pictures.next(200).status, kTimeout) << "after " << expected;
    pictures.stop();
  };
  expect(2, 2);
  ASSERT_EQ(camera_->set("AcquisitionMode", "SingleFrame"), 0);
  expect(1, kForEver);
  ASSERT_EQ(camera_->set("AcquisitionMode", "MultiFrame"), 0);
  ASSERT_EQ(camera_->set("AcquisitionFrameCount", 4), 0);
  expect(4, kForEver);
}

TEST_F(Pictures, ComeOnATriggerAndNothingWaitsForOne) {
  plug("3500,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  EXPECT_EQ(camera_->execute("TriggerSoftware"), kAccessDenied);
  ASSERT_EQ(camera_->set("TriggerMode", "On"), 0);
  ASSERT_EQ(camera_->set("PixelFormat", "Mono8"), 0);
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(3);
  pictures.start();
  EXPECT_EQ(pictures.next(50).status, kTimeout);
  for (int shots = 0; shots < 3; ++shots) {
    ASSERT_EQ(camera_->execute("TriggerSoftware"), 0);
    EXPECT_EQ(pictures.next().status, 0);
  }
  // A setting that drops frames waits for queries to end, and one is waiting for a trigger.
  EXPECT_EQ(camera_->set("Gain", 20), 0);
  EXPECT_EQ(camera_->set("TriggerMode", "Off"), 0);
  EXPECT_EQ(pictures.next().status, 0) << "runs freely";
  ASSERT_EQ(camera_->set("TriggerMode", "On"), 0);
  pictures.stop();
}

TEST_F(Pictures, EndAWaitAtOnceWhoeverEndsIt) {
  plug("3600,serial=P")->inject({.stream_frames = 0});
  ASSERT_NO_FATAL_FAILURE(open("P"));
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(2);
  pictures.start();
  // Long enough that the thread is inside, on a machine that is not busy.
  const auto ended_by = [&](uint64_t timeout_ms, const std::function<void()>& end) {
    std::atomic<bool> began = false;
    int32_t status = 0;
    std::thread waiting([&] {
      began = true;
      status = pictures.take(timeout_ms).status;
    });
    while (!began) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    end();
    waiting.join();
    return status;
  };
  EXPECT_EQ(ended_by(kForEver, [&] { producer_.call("EventKill", pictures.event()); }), kAbort);
  EXPECT_EQ(pictures.take(0).status, kTimeout) << "one wait was ended, not two";
  int32_t stopped = kTimeout;
  for (int tries = 0; tries < 20 && stopped == kTimeout; ++tries) {
    stopped = ended_by(1000, [&] { pictures.stop(); });
    pictures.start();
  }
  EXPECT_EQ(stopped, kAbort);
  const auto unregister = [&] { producer_.call("GCUnregisterEvent", pictures.stream(), 1); };
  EXPECT_THAT(ended_by(kForEver, unregister), testing::AnyOf(kAbort, kInvalidHandle));
  pictures.stop();
}

TEST_F(Pictures, GoOnAfterTheCableWasOut) {
  const auto camera = plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  ASSERT_EQ(camera_->set("Gain", 33), 0);
  Handle error = nullptr;
  ASSERT_EQ(producer_.call("GCRegisterEvent", device_, 0, &error), 0);
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(3);
  pictures.start();
  const auto before = pictures.next();
  bus_.unplug(*camera);
  std::vector<char> entry(1000);
  size_t size = entry.size();
  EXPECT_EQ(producer_.call("EventGetData", error, static_cast<void*>(entry.data()), &size, kPatience), 0);
  int32_t type = 0;
  int32_t code = 0;
  size_t room = sizeof code;
  EXPECT_EQ(producer_.call("EventGetDataInfo", error, static_cast<const void*>(entry.data()), size, 0, &type,
                           static_cast<void*>(&code), &room),
            0);
  EXPECT_EQ(code, kIo);
  EXPECT_EQ(camera_->set("Gain", 40), kIo);
  EXPECT_EQ(camera_->execute("DeviceReset"), kIo) << "it is not there";
  while (pictures.next(0).status == 0) {
  }
  bus_.plug(camera);
  ASSERT_TRUE(eventually([&] { return camera_->execute("DeviceReset") == 0; }));
  const auto after = pictures.next();
  EXPECT_EQ(after.status, 0);
  EXPECT_GT(after.frame, before.frame);
  EXPECT_EQ(camera_->number("Gain"), 33);
  EXPECT_EQ(feature("kxcamReconnects"), 1);
  pictures.stop();
}

TEST_F(Pictures, AreLargerThanABufferOnlyAsTheConsumerWants) {
  plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(1, true, 1000);
  pictures.start();
  const auto got = pictures.take();
  EXPECT_EQ(got.bytes.size(), 1000U);
  EXPECT_TRUE(got.incomplete);
  EXPECT_EQ(pictures.buffer_info<uint8_t>(got.buffer, 29), 1);
  EXPECT_EQ(pictures.buffer_info<size_t>(got.buffer, 27), static_cast<size_t>(feature("PayloadSize")));
  pictures.stop();
}

}  // namespace
}  // namespace kxcam::test
