// SPDX-License-Identifier: Apache-2.0
// `kxcam doctor` itself, against simulated cameras.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "saved_picture.h"
#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// "check camera" of everything that is not ok.
std::vector<std::string> complaints(const json& found) {
  std::vector<std::string> list;
  for (const auto& check : found.at("checks")) {
    if (check.at("result") == "ok") continue;
    EXPECT_NE(check.value("remedy", ""), "");
    list.push_back(check.at("check").get<std::string>() + " " + check.value("camera", "machine"));
  }
  return list;
}

TEST(Doctor, FindsSimulatedCamerasWell) {
  const json found =
      json::parse(output_of({{"3500", "392B,generic=1,speed=high", "0030"}}, {"doctor", "--json"}));
  EXPECT_THAT(complaints(found), testing::ElementsAre("speed 1-2"));
  EXPECT_EQ(found.at("simulated"), true);
  ASSERT_EQ(found.at("cameras").size(), 3U);
  EXPECT_EQ(found.at("cameras")[0].at("megabits_per_second"), 5000);
  EXPECT_EQ(found.at("cameras")[1].at("megabits_per_second"), 480);
  EXPECT_EQ(found.at("cameras")[1].at("product_id"), "3ff0");
  EXPECT_EQ(found.at("cameras")[1].at("model_row"), 81) << "asked for its model";
}

TEST(Doctor, TellsFaultsApart) {
  const std::pair<const char*, const char*> faults[] = {
      {"camera 2 open denied", "permission 1-2"},
      {"camera 2 claim busy", "use 1-2"},
      {"camera 2 request all of a9 stall", "model 1-2"},
  };
  for (const auto& [fault, complaint] : faults) {
    const Result result = run({{"3500", "3600,generic=1"}, fault}, {"doctor", "--json"});
    EXPECT_EQ(result.status, 1) << fault;
    EXPECT_THAT(complaints(json::parse(result.output)), testing::ElementsAre(complaint)) << fault;
    EXPECT_THAT(result.error, HasSubstr("1 problem")) << fault;
  }
}

TEST(Doctor, ReportHoldsWhatABugNeedsAndNoSerials) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "report.txt";
  const Cameras camera{{"36C0,serial=SECRET000001,name=Private"}};
  EXPECT_THAT(output_of(camera, {"doctor", "--report", file}),
              HasSubstr("Camera at USB port 1-1 (a7b7:36c0)"));
  const std::string report = read_file(file);
  for (const char* part :
       {"2019.1013", "libusb ", "Linux", "Model 2.3MP-C", "1201", "a7b7 36c0", "usbfs_memory_mb"})
    EXPECT_THAT(report, HasSubstr(part));
  EXPECT_THAT(report, Not(testing::AnyOf(HasSubstr("SECRET"), HasSubstr("Private"))));
  EXPECT_THAT(output_of(camera, {"doctor", "--serials", "--report", "-"}),
              testing::AllOf(HasSubstr("SECRET000001"), testing::StartsWith("Report of kxcam doctor")));
}

}  // namespace
