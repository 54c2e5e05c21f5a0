// SPDX-License-Identifier: Apache-2.0
// What each command returns and says, whether it can do what it is asked for or not.
#include <fstream>
#include <tuple>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

const Cameras kCamera{{"3600"}};
const Cameras kLargeCamera{{"3500"}};

json json_of(const Cameras& cameras, std::vector<std::string> command) {
  command.emplace_back("--json");
  return json::parse(output_of(cameras, command));
}

TEST(Usage, IsRefusedWithTheReason) {
  const std::vector<Row> refused = {
      {"", 2, "a command is required\nSee `kxcam --help`."},
      {"look", 2, "unknown command 'look'"},
      {"params", 2, "See `kxcam params --help`."},
      {"list extra", 2, "unexpected argument 'extra'\nSee `kxcam list --help`."},
      {"info -c 256", 2, "256 is not a number from 0 to 255"},
      {"info -c -1", 2, "0 to 255"},
      {"info -c 0 --serial KXSIM0000001", 2, "excludes"},
      {"capture -o x", 2, "unknown file extension in x"},
      {"capture -o x.jpeg", 2, "Use .png, .ppm, .pgm or .raw"},
      {"capture -o %s.png", 2, "invalid file name pattern"},
      {"capture -o x.ppm --format grey", 2, "a ppm file cannot hold grey pictures"},
      {"capture -o x.pgm --format colour", 2, "ppm holds colour"},
      {"capture -o x.png --format pink", 2, "pink"},
      {"capture -o x.raw --rotate 90", 2, "cannot be mirrored or rotated"},
      {"capture -o x.raw --mirror-x", 2, "--format grey"},
      {"capture -o x.raw --one-push", 2, "white balance"},
      {"capture -o x.png --rotate 45", 2, "45"},
      {"capture -o x.png --gamma 3", 2, "invalid value 3 for gamma (0.3..2)"},
      {"capture -o x.png --gamma nan", 2, "0.3..2"},
      {"capture -o x.png --gain 0", 2, "1..255"},
      {"capture -o x.png --auto --gain 3", 2, "excludes"},
      {"capture -o x.png --set gain", 2, "'gain' is not an assignment"},
      {"capture -o x.png -n 0", 2, "--frames: 0"},
      {"capture -o x.png --roi 0,0,64", 2, "--roi"},
      {"capture -o x.png --roi 0,0,64,64 --resolution 1", 2, "excludes"},
      {"capture -o - -n 2", 2, "several PNG pictures"},
      {"stream --seconds 0", 2, "from 0.001 to 1000000000"},
      {"stream --seconds nan", 2, "nan is not a number"},
      {"stream --seconds inf", 2, "inf is not a number"},
      {"stream --seconds -5", 2, "-5 is not a number"},
      {"doctor --serials", 2, "--report"}};
  expect_rows(kCamera, refused);
  const Result terminal = run_shell(kCamera, "script -qec '\"$KXCAM\" capture -o -' /dev/null");
  EXPECT_EQ(terminal.status, 2) << terminal.output;
  EXPECT_THAT(terminal.output, HasSubstr("standard output is a terminal"));
}

TEST(Usage, HelpAndVersionAreNoErrors) {
  for (const auto& [option, text] : {std::pair("--help", "kxcam capture"), {"--version", "2019.1013"}}) {
    const Result result = run_with_configuration("/nonexistent", {option});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr(text));
  }
}

TEST(Region, IsRefusedWithRangeAndAlignment) {
  const std::string capture = "capture -o x.png --roi ";
  expect_rows({{"3600"}},
              {{capture + "1,0,64,64", 2,
                "within 720 x 540 pixels, with X and W in multiples of 2, and Y and H in multiples of 2"},
               {capture + "0,0,722,540", 2, "within 720 x 540"}});
  expect_rows({{"303B"}}, {{capture + "0,0,752,480 --rotate 90", 2, "within 480 x 752"}});
  expect_rows({{"3B20"}}, {{capture + "8,2,64,64", 2, "X and W in multiples of 32"}});
}

TEST(Causes, AreToldApartBeforeTheCameraIsTouched) {
  const std::vector<std::string> commands = {
      "info",         "capture -o x.png",   "controls",      "get gain",     "set gain=3",    "params save -",
      "params reset", "stream --seconds 2", "stream --json", "params store", "capture --auto"};
  std::vector<Row> busy;
  std::vector<Row> denied = {{"list", 4, "may not be opened"}, {"list --json", 4, "[]"}};
  for (const auto& command : commands) {
    busy.push_back({command, 5, "camera 0 at USB port 1-1: in use by another program"});
    denied.push_back({command, 4, "/dev/bus/usb/001/001 may not be opened"});
  }
  expect_rows({{"3600"}, "claim busy"}, busy);
  expect_rows({{"3600"}, "open denied"}, denied);
  // Only the camera that is meant matters, except where the library could open none.
  expect_rows({{"3600", "3500"}, "camera 2 claim busy"}, {{"info", 0},
                                                          {"info --serial KXSIM0000001", 0},
                                                          {"info -c 1", 5, "camera 1 at USB port 1-2"},
                                                          {"list", 0}});
  expect_rows({{"3600", "3500"}, "camera 2 open denied"}, {{"info", 4, "the camera at USB port 1-2"}});
  expect_rows(
      {{"3600,serial=ABCDEFGH0001"}},
      {{"info -c 1", 3, "there is no camera 1\nAttached:\n    0  Model 0.3MP-C  ABCDEFGH0001"},
       {"info --serial XYZ", 3, "there is no camera with the serial number XYZ"},
       {"capture -o /nonexistent/f.png", 1, "/nonexistent/f.png: there is no folder /nonexistent\n"}});
  expect_rows({{"3600,generic"}, "request all of a9 stall"}, {{"info", 1, "does not report its model"}});
}

TEST(Causes, InTheConfigurationFileComeBeforeTheLibrarysOwnWords) {
  const TemporaryFolder folder;
  const auto write = [&](const std::string& text) {
    std::ofstream(folder.path() / "kxusb.conf") << text;
    return (folder.path() / "kxusb.conf").string();
  };
  const std::tuple<std::string, int, std::string> rows[] = {
      {"/nonexistent/kxusb.conf", 6, "cannot read the configuration file /nonexistent/kxusb.conf"},
      {write("<VPD>\na7b7 3ff1 none\n</VPD>\n"), 3, "no camera found"}};
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"list", "--json"}, {"info"}, {"capture", "-o", "-"}, {"stream"}}) {
    for (const auto& [file, status, text] : rows) {
      const Result result = run_with_configuration(file, command);
      EXPECT_EQ(result.status, status) << result.error;
      EXPECT_THAT(result.error, testing::StartsWith("kxcam: " + text));
      EXPECT_EQ(result.output, command[0] == "list" ? "[]\n" : "");
    }
  }
  const Result faulty = run_with_configuration(write("Nonsense 1\n"), {"list"});
  EXPECT_EQ(faulty.status, 1);
  EXPECT_THAT(faulty.error, testing::StartsWith("kxcam: error in the configuration file"));
  EXPECT_THAT(faulty.error, HasSubstr("line 1 begins with \"Nonsense\""));
}

TEST(Outputs, ThatCannotBeWrittenAreNoCrash) {
  const std::tuple<const char*, const char*, int> rows[] = {{"info -c 7", "2>&-", 3},
                                                            {"info -c 7", "2>/dev/full", 3},
                                                            {"info -c 7", ">&- 2>&-", 3},
                                                            {"info", "2>&-", 0},
                                                            {"list", ">&-", 1},
                                                            {"list", ">/dev/full", 1},
                                                            {"look", "2>/dev/full", 2},
                                                            {"look", "2>&-", 2},
                                                            {"info", "<&- >&- 2>&-", 1},
                                                            {"stream -n 3 --json", "2>&-", 0},
                                                            {"set gain=3", "2>/dev/full", 0},
                                                            {"--help", ">/dev/full", 1}};
  for (const auto& [command, redirection, status] : rows) {
    const Result result = run_shell(kCamera, std::string("\"$KXCAM\" ") + command + " " + redirection);
    EXPECT_EQ(result.status, status) << command << redirection << result.error;
  }
}

TEST(List, ShowsEachCameraOnce) {
  const Cameras cameras{
      {"3600,serial=ABCDEFGH0001", "303B,serial=ABCDEFGH0002,speed=high,name=a\033[2Jb", "3500,generic"}};
  const json list = json_of(cameras, {"list"});
  const json expected = json::parse(R"([
    {"index": 0, "name": "Model 0.3MP-C", "serial": "ABCDEFGH0001", "model_row": 41, "product_id": "3600",
     "port": "1-1", "megabits_per_second": 5000},
    {"index": 1, "name": "a?[2Jb", "serial": "ABCDEFGH0002", "model_row": 20, "product_id": "303b",
     "port": "1-2", "megabits_per_second": 480},
    {"index": 2, "name": "Model 5MP-C", "serial": "KXSIM0000001", "model_row": 23, "product_id": "3500",
     "port": "1-3", "megabits_per_second": 5000}])");
  EXPECT_EQ(list, expected);
  expect_rows(cameras, {{"list", 0, "a?[2Jb"}, {"list", 0, "1-2       480"}});
}

TEST(Info, DescribesTheCamera) {
  const Cameras cameras{{"369B,serial=ABCDEFGH0003,fw=0x8310"}};
  const json info = json_of(cameras, {"info"});
  const json expected = json::parse(R"({
    "library": "2019.1013", "name": "Model 0.3MP-M12", "model_row": 43, "serial": "ABCDEFGH0003", "port": "1-1",
    "megabits_per_second": 5000, "sensor": {"width": 720, "height": 540}, "picture": {"width": 720, "height": 540},
    "depth": 12, "timeout_ms": 500,
    "tone": {"black_level": 0, "gamma": 1.0, "contrast": 1.0, "saturation": 1.0, "enhancement": false}})");
  for (const auto& [key, value] : expected.items()) EXPECT_EQ(info.at(key), value) << key;
  EXPECT_THAT(info.at("configuration").get<std::string>(), testing::Not(testing::StartsWith("/etc/")));
  EXPECT_EQ(info.at("resolutions").at(1), json::parse(R"({"width": 360, "height": 270})"));
  expect_rows(cameras, {{"info --serial ABCDEFGH0003", 0, "720 x 540, 12 bits"},
                        {"info", 0, "USB port 1-1, 5000 Mbit/s"},
                        {"info", 0, "8310"}});
  for (const auto& [wish, refused] : {std::pair("scalar", false), {"abacus", true}}) {
    const Result result = run_shell(cameras, std::string("KXCAM_CPU=") + wish + " \"$KXCAM\" info --json");
    EXPECT_EQ(json::parse(result.output).at("instructions_refused"), refused) << wish;
  }
}

TEST(Controls, AreListedWithUnitRangeAndMeaning) {
  std::map<std::string, json> controls;
  for (const auto& control : json_of(kLargeCamera, {"controls"})) {
    controls[control["name"]] = control;
    EXPECT_NE(control["description"], "") << control;
    EXPECT_NE(control["group"], "") << control;
  }
  EXPECT_EQ(controls.size(), 41U);
  EXPECT_EQ(controls["gain"]["minimum"], 1);
  EXPECT_EQ(controls["gain"]["maximum"], 255);
  EXPECT_EQ(controls["exposure-ms"]["unit"], "ms");
  EXPECT_GT(controls["exposure-ms"]["value"], 0.0);
  EXPECT_EQ(controls["anti-flicker"]["choices"], json({"off", "50hz", "60hz"}));
  EXPECT_TRUE(controls["global-reset"]["value"].is_null()) << "not offered";
  const Result text = run(kLargeCamera, {"controls"});
  EXPECT_THAT(text.output, testing::ContainsRegex("\ngain +[0-9]+ +1\\.\\.255 +gain of the sensor"));
  EXPECT_THAT(text.output, testing::ContainsRegex("\nglobal-reset +- +off\\|on "));
}

TEST(Controls, SetsWhatGetReads) {
  const Result set = run(kLargeCamera, {"set", "gain=77", "auto-gain=on", "anti-flicker=60hz",
                                        "exposure-ms=20", "frame-rate=12.5", "gamma=1.5", "trigger=on"});
  ASSERT_EQ(set.status, 0) << set.error;
  EXPECT_THAT(set.output, HasSubstr("gain=77\nauto-gain=on\nanti-flicker=60hz\nexposure-ms="));
  EXPECT_THAT(set.output, HasSubstr("frame-rate=12.5\ngamma=1.5\ntrigger=on\n"));
  EXPECT_THAT(set.error, HasSubstr("lost when the camera is closed; `kxcam set --store`"));
  // The nearest whole number of lines of (2592 + 894) / 96 us.
  EXPECT_NEAR(std::stod(set.output.substr(set.output.find("exposure-ms=") + 12)), 20, 0.0182);
  EXPECT_THAT(run(kLargeCamera, {"get", "target", "delay"}).output,
              testing::MatchesRegex("target=[0-9]+\ndelay=[0-9]+\n"));
}

TEST(Controls, RefusesWhatCannotBe) {
  std::vector<Row> rows = {{"gain", 2, "'gain' is not an assignment"},
                           {"gain=0", 2, "1..255"},
                           {"gain=256", 2, "invalid value 256 for gain"},
                           {"gain=1.5", 2, "1..255"},
                           {"gain=7x", 2, "1..255"},
                           {"gain=", 2, "invalid value '' for gain"},
                           {"gamma=nan", 2, "0.3..2"},
                           {"gamma=1e999", 2, "0.3..2"},
                           {"anti-flicker=3", 2, "off|50hz|60hz"},
                           {"colour=1", 2, "unknown control 'colour'"},
                           {"global-reset=x", 2, "off|on"}};
  for (Row& row : rows) row.arguments = "set exposure=9 " + row.arguments;
  rows.push_back({"get global-reset", 2, "camera 0 does not offer global-reset"});
  expect_rows(kLargeCamera, rows);
  expect_rows({{"3010"}}, {{"set exposure-ms=5", 2, "does not offer exposure-ms"}});
}

}  // namespace
