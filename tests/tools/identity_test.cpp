// SPDX-License-Identifier: Apache-2.0
// Which cameras are there, and what they are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulated_run.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(List, ShowsEachCameraOnce) {
  const Cameras cameras{{"3600,serial=ABCDEFGH0001", "303B,serial=ABCDEFGH0002,name=left"}};
  const Result text = run(cameras, {"list"});
  ASSERT_EQ(text.status, 0) << text.error;
  EXPECT_THAT(text.output, HasSubstr("Model 0.3MP-C"));
  EXPECT_THAT(text.output, HasSubstr("left"));

  const Result result = run(cameras, {"list", "--json"});
  ASSERT_EQ(result.status, 0) << result.error;
  auto list = json::parse(result.output);
  ASSERT_EQ(list.size(), 2U);
  for (int index = 0; index < 2; ++index) EXPECT_EQ(list[index].at("index"), index);
  // The order of the bus is libusb's business.
  if (list[0].at("serial") != "ABCDEFGH0001") std::swap(list[0], list[1]);
  EXPECT_EQ(list[0].at("serial"), "ABCDEFGH0001");
  EXPECT_EQ(list[0].at("name"), "Model 0.3MP-C");
  EXPECT_EQ(list[0].at("product_id"), "3600");
  EXPECT_EQ(list[0].at("model_row"), 41);
  EXPECT_EQ(list[1].at("serial"), "ABCDEFGH0002");
  EXPECT_EQ(list[1].at("name"), "left");
  EXPECT_EQ(list[1].at("model_row"), 20);
  EXPECT_EQ(list[1].at("product_id"), "303b");
}

TEST(List, FindsTheModelBehindTheGenericProductId) {
  const Result result = run({{"3600,generic"}}, {"list", "--json"});
  ASSERT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(json::parse(result.output).at(0).at("model_row"), 41);
}

TEST(Info, DescribesTheCamera) {
  const Cameras cameras{{"369B,serial=ABCDEFGH0003,fw=0x8310"}};
  const Result result = run(cameras, {"info", "--json"});
  ASSERT_EQ(result.status, 0) << result.error;
  const json info = json::parse(result.output);
  EXPECT_EQ(info.at("library"), "2019.1013");
  EXPECT_THAT(info.at("configuration").get<std::string>(), testing::Not(testing::StartsWith("/etc/")));
  EXPECT_EQ(info.at("name"), "Model 0.3MP-M12");
  EXPECT_EQ(info.at("model_row"), 43);
  EXPECT_EQ(info.at("serial"), "ABCDEFGH0003");
  EXPECT_EQ(info.at("sensor"), json::parse(R"({"width": 720, "height": 540})"));
  EXPECT_EQ(info.at("picture"), info.at("sensor"));
  EXPECT_EQ(info.at("resolutions").at(0), info.at("sensor"));
  EXPECT_EQ(info.at("resolutions").at(1), json::parse(R"({"width": 360, "height": 270})"));
  EXPECT_EQ(info.at("depth"), 12);
  EXPECT_EQ(info.at("timeout_ms"), 500);
  EXPECT_EQ(info.at("tone").at("gamma"), 1.0);

  const Result text = run(cameras, {"info"});
  ASSERT_EQ(text.status, 0) << text.error;
  EXPECT_THAT(text.output, HasSubstr("720 x 540, 12 bits"));
  EXPECT_THAT(text.output, HasSubstr("ABCDEFGH0003"));
  EXPECT_THAT(text.output, HasSubstr("8310"));
}

TEST(Info, TellsWhetherTheInstructionSetIsTheOneAskedFor) {
  const Cameras cameras{{"369B"}};
  const auto info_under = [&](const std::string& wish) {
    const Result result = run_shell(cameras, "KXCAM_CPU=" + wish + " \"$KXCAM\" info --json");
    EXPECT_EQ(result.status, 0) << result.error;
    return json::parse(result.output);
  };
  const json scalar = info_under("scalar");
  EXPECT_EQ(scalar.at("instructions"), "scalar");
  EXPECT_EQ(scalar.at("instructions_refused"), false);
  EXPECT_EQ(info_under("abacus").at("instructions_refused"), true);
}

// The camera's memory is not to be trusted with the terminal.
TEST(List, ShowsNoControlCharactersOfTheCamera) {
  const Result result = run({{"3600,name=a\033[2Jb"}}, {"list"});
  ASSERT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("a?[2Jb"));
}

}  // namespace
