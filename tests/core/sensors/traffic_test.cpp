// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <vector>

#include "sensor_test.h"

// What every sensor is sent, and what becomes of a request that fails.

namespace kxcam::test {
namespace {

class TrafficTest : public SensorTest {
 protected:
  void expect_all(
      const std::string& heading, const Set& set, const Set& prepare = [](int) { return true; }) {
    expect_complete(heading);
    expect_traffic(heading, set, prepare);
  }

  /// The next frame makes the loop take its first step, towards a picture twice as bright.
  bool aim(int target, int exposure) {
    const bool set = ok(CameraSetAETarget(kCamera, target)) && ok(CameraSetExposure(kCamera, exposure));
    context().sensor.flicker_lines = 0;
    return set && develop(100);
  }
};

TEST_F(TrafficTest, OfTheExposure) {
  expect_all("exposure", [](int lines) { return ok(CameraSetExposure(kCamera, lines)); });
  expect_traffic(
      "exposure at a fixed rate", [](int lines) { return ok(CameraSetExposure(kCamera, lines)); },
      [](int) { return ok(CameraSetFrameRate(kCamera, true, 10)); });
}

TEST_F(TrafficTest, OfTheGains) {
  expect_all("gain", [](int gain) { return ok(CameraSetGain(kCamera, gain)); });
  expect_all("advanced gain", [](int level) { return ok(CameraSetAdvancedGain(kCamera, level)); });
}

TEST_F(TrafficTest, OfTheDelay) {
  expect_all("delay", [](int lines) { return ok(CameraSetDelay(kCamera, lines)); });
}

TEST_F(TrafficTest, OfTheLoopsExposure) {
  expect_all(
      "exposure by the loop",
      [this](int lines) {
        const bool done = develop(100);
        EXPECT_EQ(get(CameraGetExposure, kCamera), lines);
        return done;
      },
      [this](int lines) {
        const bool shortest = lines == 1;
        return ok(CameraSetAEC(kCamera, true)) && aim(shortest ? 0 : 200, shortest ? 2 : 3000);
      });
}

TEST_F(TrafficTest, OfTheLoopsGain) {
  expect_all(
      "gain by the loop",
      [this](int gain) {
        const bool done = develop(100);
        EXPECT_EQ(get(CameraGetGain, kCamera), gain);
        return done;
      },
      [this](int gain) {
        // Twice the exposure is the share of a frame that asks for this gain.
        return ok(CameraSetGain(kCamera, 1)) && ok(CameraSetAGC(kCamera, true)) &&
               aim(200, static_cast<int>(std::lround((gain - 3.5) * 960 / 28 / 2)));
      });
}

TEST_F(TrafficTest, TheLoopsGainComesBeforeItsExposureAndAFailureStopsNeither) {
  for (const bool broken : {false, true}) {
    open(0x0500);
    EXPECT_TRUE(ok(CameraSetGain(kCamera, 1)) && ok(CameraSetAGC(kCamera, true)) &&
                ok(CameraSetAEC(kCamera, true)) && aim(200, 283));
    forget_requests();
    if (broken) camera().inject({.requests = {{.which = {1, 2}}}});
    EXPECT_EQ(develop(100), !broken);
    EXPECT_EQ(requests(), broken ? "w35=14 w35=14 w9=236" : "w35=14 w9=236");
  }
}

TEST_F(TrafficTest, TheLoopFollowsEveryPictureAndOnlyAGreyOneFailsWithIt) {
  const struct {
    int format;
    bool broken;
    bool result;
    const char* requests;
  } rows[] = {{KXCAM_FORMAT_GREY, false, true, "w9=236"},
              {KXCAM_FORMAT_COLOR, false, true, "w9=236"},
              {KXCAM_FORMAT_RAW | KXCAM_FORMAT_GREY, false, true, ""},
              {0, false, true, ""},
              {KXCAM_FORMAT_COLOR, true, true, "w9=236 w9=236"},
              {KXCAM_FORMAT_GREY, true, false, "w9=236 w9=236"}};
  for (const uint32_t mid : {0x0500U, 0x050BU}) {
    for (const auto& row : rows) {
      SCOPED_TRACE(testing::Message() << std::hex << mid << ", format " << row.format);
      open(mid);
      EXPECT_TRUE(ok(CameraSetAEC(kCamera, true)) && aim(200, 283));
      forget_requests();
      if (row.broken) break_requests(kxsim::kSensorWrite);
      EXPECT_EQ(develop(100, row.format), row.result);
      EXPECT_EQ(requests(), row.requests);
    }
  }
}

}  // namespace
}  // namespace kxcam::test
