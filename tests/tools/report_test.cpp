// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <kxcam/kxcam.h>

#include "progress.h"
#include "stream_statistics.h"

namespace kxcam {
namespace {

using testing::HasSubstr;
using Seconds = StreamStatistics::Seconds;

TEST(StreamStatistics, CountsByCause) {
  StreamStatistics statistics;
  for (int i = 0; i < 50; ++i) statistics.add_frame(2'000'000);
  statistics.add_timeout();
  statistics.add_error(KXCAM_ERROR_ARGUMENT);
  statistics.add_error(KXCAM_ERROR_NO_DEVICE);
  statistics.add_error(KXCAM_ERROR_NO_DEVICE);

  const auto json = statistics.json(Seconds(2));
  EXPECT_EQ(json.at("frames"), 50);
  EXPECT_EQ(json.at("frames_per_second"), 25.0);
  EXPECT_EQ(json.at("megabytes_per_second"), 50.0);
  EXPECT_EQ(json.at("timeouts"), 1);
  EXPECT_EQ(json.at("errors"), nlohmann::json::parse(R"({"2": 1, "4": 2})"));
  EXPECT_THAT(statistics.summary(Seconds(2)), HasSubstr("50 (25.0 frames/s, 50.0 MB/s)"));
  EXPECT_THAT(statistics.summary(Seconds(2)), HasSubstr("2 (code 4: device not open or not found)"));
}

TEST(StreamStatistics, ProgressIsAboutTheTimeSinceTheLast) {
  StreamStatistics statistics;
  for (int i = 0; i < 100; ++i) statistics.add_frame(1);
  EXPECT_THAT(statistics.progress(Seconds(1)), HasSubstr(" 100.0 frames/s"));
  statistics.add_frame(1);
  EXPECT_THAT(statistics.progress(Seconds(3)), HasSubstr(" 0.5 frames/s"));
  EXPECT_THAT(statistics.progress(Seconds(3)), HasSubstr(" 0.0 frames/s")) << "no time has passed";
}

TEST(ProgressBar, FillsFromEmptyToFull) {
  EXPECT_EQ(progress_bar(0, 4), "[--------------------] 0/4");
  EXPECT_EQ(progress_bar(1, 4), "[#####---------------] 1/4");
  EXPECT_EQ(progress_bar(4, 4), "[####################] 4/4");
  EXPECT_THAT(progress_bar(999'999'999, 1'000'000'000), HasSubstr("[###################-]"));
}

}  // namespace
}  // namespace kxcam
