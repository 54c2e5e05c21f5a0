// SPDX-License-Identifier: Apache-2.0
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "saved_picture.h"
#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

using testing::HasSubstr;

const Cameras kCamera{{"3500"}};

TEST(Controls, ListsEverySettingWithUnitRangeAndValue) {
  const Result result = run(kCamera, {"controls", "--json"});
  ASSERT_EQ(result.status, 0) << result.error;
  std::map<std::string, nlohmann::json> controls;
  for (const auto& control : nlohmann::json::parse(result.output)) controls[control["name"]] = control;
  EXPECT_GE(controls.size(), 25U);
  EXPECT_EQ(controls["gain"]["minimum"], 1);
  EXPECT_EQ(controls["gain"]["maximum"], 255);
  EXPECT_EQ(controls["exposure-ms"]["unit"], "ms");
  EXPECT_GT(controls["exposure-ms"]["value"], 0.0);
  EXPECT_EQ(controls["anti-flicker"]["choices"], nlohmann::json({"off", "50hz", "60hz"}));
  EXPECT_TRUE(controls["global-reset"]["value"].is_null()) << "not offered";

  const Result text = run(kCamera, {"controls"});
  EXPECT_THAT(text.output, testing::ContainsRegex("\ngain +[0-9]+ +1\\.\\.255\n"));
  EXPECT_THAT(text.output, testing::ContainsRegex("\nglobal-reset +- +off\\|on\n"));
}

TEST(Controls, SetsWhatGetReads) {
  const Result set = run(kCamera, {"set", "gain=77", "auto-gain=on", "anti-flicker=60hz", "exposure-ms=20",
                                   "frame-rate=12.5", "gamma=1.5", "trigger=on"});
  ASSERT_EQ(set.status, 0) << set.error;
  EXPECT_THAT(set.output, HasSubstr("gain=77\nauto-gain=on\nanti-flicker=60hz\nexposure-ms="));
  EXPECT_THAT(set.output, HasSubstr("frame-rate=12.5\ngamma=1.5\ntrigger=on\n"));
  // The nearest whole number of lines of (2592 + 894) / 96 us.
  EXPECT_NEAR(std::stod(set.output.substr(set.output.find("exposure-ms=") + 12)), 20, 0.0182);
  const Result get = run(kCamera, {"get", "target", "delay"});
  EXPECT_THAT(get.output, testing::MatchesRegex("target=[0-9]+\ndelay=[0-9]+\n"));
}

TEST(Controls, RefusesWhatCannotBe) {
  const std::pair<const char*, const char*> mistakes[] = {{"gain", "no assignment"},
                                                          {"gain=0", "1..255"},
                                                          {"gain=256", "1..255"},
                                                          {"gain=1.5", "1..255"},
                                                          {"gain=7x", "1..255"},
                                                          {"gain=", "1..255"},
                                                          {"gamma=nan", "0.3..2"},
                                                          {"gamma=1e999", "0.3..2"},
                                                          {"anti-flicker=3", "off|50hz|60hz"},
                                                          {"colour=1", "There are: exposure-ms"}};
  for (const auto& [assignment, answer] : mistakes) {
    const Result result = run(kCamera, {"set", "exposure=9", assignment});
    EXPECT_EQ(result.status, 2) << assignment;
    EXPECT_THAT(result.error, HasSubstr(answer));
    EXPECT_EQ(result.output, "");
  }
  EXPECT_NE(run(kCamera, {"get", "global-reset"}).status, 0);
  const Result unknown_line = run({{"3010"}}, {"set", "exposure-ms=5"});
  EXPECT_EQ(unknown_line.status, 2);
  EXPECT_THAT(unknown_line.error, HasSubstr("lines"));
}

double brightness(const Cameras& cameras, const std::vector<std::string>& options) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "picture.pgm";
  std::vector<std::string> arguments = {"capture", "--skip", "8", "-o", file};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const Result result = run(cameras, arguments);
  EXPECT_EQ(result.status, 0) << result.error;
  const SavedPicture picture = read_pnm(read_file(file));
  return std::accumulate(picture.samples.begin(), picture.samples.end(), 0.0) /
         static_cast<double>(picture.samples.size());
}

TEST(Controls, CaptureExposesAsAsked) {
  const Cameras lit{{"3600,fps=0,noise=0,light=1.2"}};
  const double dark = brightness(lit, {"--exposure-ms", "2", "--gain", "1"});
  const double bright = brightness(lit, {"--exposure-ms", "8", "--gain", "1"});
  const double amplified = brightness(lit, {"--exposure-ms", "2", "--gain", "121"});
  EXPECT_NEAR(bright / dark, 4, 0.4);
  EXPECT_NEAR(amplified / dark, 4, 0.4) << "12 dB";
  EXPECT_GT(brightness(lit, {"--auto"}), 1.5 * dark);
  EXPECT_NE(run(lit, {"capture", "--auto", "--gain", "3"}).status, 0);
}

TEST(Controls, CaptureTriggersEachFrame) {
  const TemporaryFolder folder;
  const Result result =
      run({{"3600,fps=0"}}, {"capture", "--trigger", "-n", "3", "-o", folder.path() / "shot.png"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "shot-0003.png"));
}

}  // namespace
