// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "simulated_run.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

json report_of(const Cameras& cameras, std::vector<std::string> options) {
  options.insert(options.begin(), {"stream", "--json"});
  return json::parse(output_of(cameras, options));
}

TEST(Stream, MeasuresForTheTimeGiven) {
  const json stream = report_of({{"3600,fps=40"}}, {"--seconds", "2", "--format", "grey"});
  EXPECT_EQ(stream.at("camera"), 0);
  EXPECT_EQ(stream.at("format"), "grey");
  EXPECT_GE(stream.at("seconds"), 2.0);
  EXPECT_LT(stream.at("seconds"), 4.0);
  EXPECT_GT(stream.at("frames"), 20);
  EXPECT_LT(stream.at("frames"), 120);
  EXPECT_EQ(stream.at("bytes"), stream.at("frames").get<int>() * 720 * 540);
  EXPECT_EQ(stream.at("timeouts"), 0);
  EXPECT_TRUE(stream.at("errors").empty());
}

TEST(Stream, StopsAfterTheFramesAskedForAndReportsOnTheWay) {
  EXPECT_THAT(
      output_of({{"303B,fps=10"}}, {"stream", "-n", "20"}),
      testing::AllOf(HasSubstr("frames     20 ("), testing::ContainsRegex("1\\.[0-9] s +[0-9]+ frames ")));
}

TEST(Stream, TellsWhyFramesWereLost) {
  const Cameras faulty{{"3600,fps=40"}, "frame 10-12 short 512; frame 20 long 1500"};
  const json losses = report_of(faulty, {"-n", "40", "--format", "raw"}).at("losses");
  EXPECT_EQ(losses.at("too_short"), 3);
  EXPECT_EQ(losses.at("too_long"), 1);
  EXPECT_THAT(output_of(faulty, {"stream", "-n", "40"}),
              testing::AllOf(HasSubstr("           3 too short\n"), HasSubstr("           1 too long\n")));
}

TEST(Stream, AnInterruptEndsItWithTheSummary) {
  for (const char* signal : {"INT", "TERM"}) {
    const Result result = run({{"3600,fps=30"}}, {"stream", "--json"},
                              std::string("timeout --foreground --preserve-status -s ") + signal + " 1.5");
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_GT(json::parse(result.output).at("frames"), 0);
  }
}

TEST(Stream, GoesOnWithACameraThatComesBackOnAnotherPort) {
  const Cameras loose{{"3600,fps=40"}, "unplug after 20 frames back after 800ms on port 3"};
  const Result result = run(loose, {"stream", "--reconnect", "-n", "50", "--json"});
  ASSERT_EQ(result.status, 0) << result.error;
  const json stream = json::parse(result.output);
  EXPECT_EQ(stream.at("frames"), 50);
  EXPECT_EQ(stream.at("reconnects"), 1);
  EXPECT_GT(stream.at("seconds_away"), 0.0);
  EXPECT_THAT(result.error, HasSubstr("camera 0 is gone; waiting for it\ncamera 0 is back after"));
  const Result without = run(loose, {"stream", "-n", "50", "--timeout", "600"});
  EXPECT_EQ(without.status, 1);
  EXPECT_THAT(without.error, HasSubstr("no longer answers"));
}

// After a failed transfer the library resets the camera, which answers from then on and sends nothing.
TEST(Stream, ReconnectsACameraThatAnswersAndSendsNothing) {
  for (const char* model : {"3600,fps=40", "303B,fps=40"}) {
    const Cameras reset{{model}, "bulk 20 error"};
    const Result result = run(reset, {"stream", "--reconnect", "-n", "60", "--timeout", "500", "--json"});
    ASSERT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(json::parse(result.output).at("frames"), 60);
    EXPECT_EQ(json::parse(result.output).at("reconnects"), 1);
    EXPECT_THAT(result.error, HasSubstr("camera 0 sends no frames; reconnecting\ncamera 0 is back after"));
  }
}

TEST(Stream, EndsWithSevenWhenTheCameraFallsSilentForGood) {
  expect_rows(
      {{"3600,fps=40"}, "stream ends after 5"},
      {{"stream --timeout 500 -n 50", 7, "frames     5 ("},
       {"stream --timeout 500 --seconds 2", 7, "delivered no frame within"},
       {"stream --timeout 500 --seconds 20 --reconnect", 7, "camera 0 sends no frames; reconnecting"}});
  // A camera that waits for a trigger is as it should be.
  const Result triggered =
      run({{"3600"}}, {"stream", "--seconds", "3", "--timeout", "500", "--set", "trigger=on", "--reconnect"});
  EXPECT_EQ(triggered.output.find("reconnecting"), std::string::npos);
}

TEST(Stream, WaitsForALostCameraNoLongerThanAskedFor) {
  const Cameras lost{{"3600,fps=40"}, "unplug after 5 frames"};
  const Result result = run(lost, {"stream", "--reconnect", "--seconds", "2"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("is gone; waiting for it\n"));
  EXPECT_THAT(result.output, HasSubstr("frames     5 ("));
}

}  // namespace
