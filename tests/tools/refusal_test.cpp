// SPDX-License-Identifier: Apache-2.0
// What the tool says and returns when it cannot do what it is asked for.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const Cameras kSmallCamera{{"3600"}};

TEST(Refusal, WrongUseIsTwo) {
  const std::vector<std::vector<std::string>> lines = {
      {},
      {"look"},
      {"list", "extra"},
      {"info", "-c", "256"},
      {"info", "-c", "-1"},
      {"capture", "-o", "x"},
      {"capture", "-o", "x.jpeg"},
      {"capture", "-o", "%s.png"},
      {"capture", "-o", "x.ppm", "--format", "grey"},
      {"capture", "-o", "x.pgm", "--format", "colour"},
      {"capture", "-o", "x.raw", "--rotate", "90"},
      {"capture", "-o", "x.png", "--rotate", "45"},
      {"capture", "-o", "x.png", "--gamma", "3"},
      {"capture", "-o", "x.png", "--gamma", "nan"},
      {"capture", "-o", "x.png", "-n", "0"},
      {"capture", "-o", "x.png", "--roi", "0,0,64"},
      {"capture", "-o", "x.png", "--roi", "0,0,64,64", "--resolution", "1"},
      {"capture", "-o", "x.png", "--roi", "1,0,64,64"},
      {"capture", "-o", "x.png", "--roi", "0,0,722,540"},
      {"capture", "-o", "-", "-n", "2"},
      {"stream", "--seconds", "0"},
  };
  for (const auto& line : lines) {
    const Result result = run(kSmallCamera, line);
    EXPECT_EQ(result.status, 2) << testing::PrintToString(line) << '\n' << result.error;
    EXPECT_THAT(result.output, IsEmpty()) << testing::PrintToString(line);
    EXPECT_THAT(result.error, testing::Not(IsEmpty())) << testing::PrintToString(line);
  }
}

TEST(Refusal, PicturesAreNotWrittenToATerminal) {
  const Result result = run_shell(kSmallCamera, "script -qec '\"$KXCAM\" capture -o -' /dev/null");
  EXPECT_EQ(result.status, 2) << result.output;
  EXPECT_THAT(result.output, HasSubstr("terminal"));
}

TEST(Refusal, HelpAndVersionAreNoErrors) {
  const Result help = run_with_configuration("/nonexistent", {"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.output, HasSubstr("kxcam capture"));
  const Result version = run_with_configuration("/nonexistent", {"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.output, HasSubstr("2019.1013"));
}

TEST(Refusal, NoConfigurationFileIsSix) {
  for (const auto& line :
       {std::vector<std::string>{"list", "--json"}, {"info"}, {"capture", "-o", "-"}, {"stream"}}) {
    const Result result = run_with_configuration("/nonexistent/kxusb.conf", line);
    EXPECT_EQ(result.status, 6);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr("/nonexistent/kxusb.conf"));
    EXPECT_THAT(result.error, HasSubstr("<VPD>"));
  }
}

TEST(Refusal, AFaultyConfigurationFileIsOneAndLeavesTheOutputClean) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "kxusb.conf";
  std::ofstream(file) << "Nonsense 1\n";
  const Result result = run_with_configuration(file, {"list", "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, HasSubstr("Nonsense"));
}

TEST(Refusal, NoCameraIsThree) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "kxusb.conf";
  std::ofstream(file) << "<VPD>\na7b7 3ff1 none\n</VPD>\n";
  const Result list = run_with_configuration(file, {"list", "--json"});
  EXPECT_EQ(list.status, 3);
  EXPECT_EQ(nlohmann::json::parse(list.output), nlohmann::json::array());
  EXPECT_THAT(list.error, HasSubstr("no camera"));
  EXPECT_EQ(run_with_configuration(file, {"stream"}).status, 3);
}

TEST(Refusal, AnAbsentIndexIsThreeAndTellsWhichArePresent) {
  const Result result = run({{"3600,serial=ABCDEFGH0001"}}, {"info", "-c", "1"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, HasSubstr("no camera 1"));
  EXPECT_THAT(result.error, HasSubstr("ABCDEFGH0001"));
}

TEST(Refusal, AFileThatCannotBeWrittenIsOne) {
  const Result result = run(kSmallCamera, {"capture", "-o", "/nonexistent/f.png"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("/nonexistent/f.png: there is no folder /nonexistent\n"));
}

TEST(Refusal, OutputsThatCannotBeWrittenAreNoCrash) {
  const std::tuple<const char*, const char*, int> rows[] = {
      {"info -c 7", "2>&-", 3},     {"info -c 7", "2>/dev/full", 3},
      {"info -c 7", ">&- 2>&-", 3}, {"info", "2>&-", 0},
      {"list", ">&-", 1},           {"list", ">/dev/full", 1},
      {"look", "2>/dev/full", 2},   {"look", "2>&-", 2},
      {"info", "<&- >&- 2>&-", 1},  {"stream -n 3 --json", "2>&-", 0}};
  for (const auto& [command, redirection, status] : rows) {
    const Result result = run_shell(kCamera, std::string("\"$KXCAM\" ") + command + " " + redirection);
    EXPECT_EQ(result.status, status) << command << redirection << result.error;
  }
}

TEST(Refusal, ASilentCameraIsSeven) {
  const TemporaryFolder folder;
  const Cameras silent{{"3600"}, "stream ends after 0"};
  const std::string file = folder.path() / "f.png";
  const Result capture = run(silent, {"capture", "-o", file, "--timeout", "600"});
  EXPECT_EQ(capture.status, 7);
  EXPECT_THAT(capture.error, HasSubstr("trigger"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

  const Result stream = run(silent, {"stream", "--seconds", "2", "--timeout", "600", "--json"});
  EXPECT_EQ(stream.status, 7);
  const auto json = nlohmann::json::parse(stream.output);
  EXPECT_EQ(json.at("frames"), 0);
  EXPECT_GE(json.at("timeouts"), 1);
}

// The frames that arrived before are still worth the summary.
TEST(Refusal, ACameraThatIsPulledOutIsOne) {
  const Cameras pulled{{"3600,fps=30"}, "unplug after 5 frames"};
  const Result stream = run(pulled, {"stream", "--timeout", "600", "--json"});
  EXPECT_EQ(stream.status, 1);
  EXPECT_THAT(stream.error, HasSubstr("does not answer"));
  EXPECT_GT(nlohmann::json::parse(stream.output).at("frames"), 0);
}

TEST(Refusal, ACameraThatMayNotBeOpenedLeavesTheOutputClean) {
  const Result result = run({{"3600"}, "open denied"}, {"list", "--json"});
  EXPECT_THAT(result.status, testing::AnyOf(3, 4)) << "without sysfs the cause cannot be told";
  EXPECT_EQ(nlohmann::json::parse(result.output), nlohmann::json::array());
}

}  // namespace
