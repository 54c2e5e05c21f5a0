// SPDX-License-Identifier: Apache-2.0
#include "device/fault_script.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kxsim {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::string script_complaint(std::string_view script) {
  try {
    parse_fault_script(script);
  } catch (const BadFaultScript& error) {
    return error.what();
  }
  return "";
}

TEST(FaultScript, EveryKindOfFault) {
  const auto plan = parse_fault_script(
      "# what goes wrong\n"
      "request 3 stall; request all of 0xB0 timeout\n"
      "request 2-5 of b3 reply 00 0x01 fF   # lies\n"
      "request 7- short 1\n"
      "request 1 garbage; request 9 unplug\n\n"
      "bulk 1 stall; bulk 2 overflow; bulk all error; bulk 4 timeout; bulk 5 unplug\n"
      "frame 1 short 10; frame 2 long 20; frame 3 split 512; frame 4 unended 1; frame 5- missing\r\n"
      "stream ends after 0\n"
      "eeprom dies after 64\n"
      "flash dies after 5000\n"
      "unplug at 2s; unplug after 10 frames back after 500ms; unplug after 4 requests back after 0s on port "
      "7\n"
      "open denied; claim busy");
  ASSERT_EQ(plan.requests.size(), 6U);
  EXPECT_EQ(plan.requests[0].action, RequestFault::Action::kStall);
  EXPECT_TRUE(plan.requests[0].which.contains(3));
  EXPECT_FALSE(plan.requests[0].which.contains(2) || plan.requests[0].which.contains(4));
  EXPECT_EQ(plan.requests[0].code, std::nullopt);
  EXPECT_EQ(plan.requests[1].code, 0xB0);
  EXPECT_TRUE(plan.requests[1].which.contains(1'000'000));
  EXPECT_EQ(plan.requests[2].code, 0xB3);
  EXPECT_EQ(plan.requests[2].which.last, 5U);
  EXPECT_THAT(plan.requests[2].reply, testing::ElementsAre(0, 1, 0xFF));
  EXPECT_EQ(plan.requests[3].which.first, 7U);
  EXPECT_EQ(plan.requests[3].length, 1U);
  EXPECT_EQ(plan.requests[5].action, RequestFault::Action::kUnplug);
  ASSERT_EQ(plan.bulk.size(), 5U);
  EXPECT_EQ(plan.bulk[3].action, BulkFault::Action::kTimeout);
  EXPECT_EQ(plan.bulk[4].action, BulkFault::Action::kUnplug);
  ASSERT_EQ(plan.frames.size(), 5U);
  EXPECT_EQ(plan.frames[2].bytes, 512U);
  EXPECT_EQ(plan.frames[4].action, FrameFault::Action::kMissing);
  EXPECT_EQ(plan.stream_frames, 0U);
  EXPECT_EQ(plan.eeprom_writes, 64U);
  EXPECT_EQ(plan.flash_bytes, 5000U);
  ASSERT_EQ(plan.unplugs.size(), 3U);
  EXPECT_EQ(plan.unplugs[0].time, std::chrono::seconds(2));
  EXPECT_EQ(plan.unplugs[0].back_after, std::nullopt);
  EXPECT_EQ(plan.unplugs[1].back_after, std::chrono::milliseconds(500));
  EXPECT_EQ(plan.unplugs[2].when, UnplugFault::When::kRequests);
  EXPECT_EQ(plan.unplugs[2].port, 7);
  EXPECT_TRUE(plan.open_denied && plan.claim_busy);
}

TEST(FaultScript, FaultsOfOneCamera) {
  constexpr auto kScript = "camera 2 bulk 1 stall\nbulk 2 error";
  EXPECT_EQ(parse_fault_script(kScript, 1).bulk.size(), 1U);
  EXPECT_EQ(parse_fault_script(kScript, 2).bulk.size(), 2U);
  EXPECT_THROW(parse_fault_script("camera 2 bulk 1 stal", 1), BadFaultScript) << "checked all the same";
}

TEST(FaultScript, MistakesAreNamedWithTheirPlace) {
  EXPECT_THAT(script_complaint("bulk 1 stall\n\nrequest 1 stal"),
              AllOf(HasSubstr("line 3"), HasSubstr("'stal'"), HasSubstr("timeout")));
  EXPECT_THAT(script_complaint("frame 1 short"), AllOf(HasSubstr("bytes"), HasSubstr("end of the line")));
  for (const char* bad : {"explode",
                          "request",
                          "request 0 stall",
                          "request x stall",
                          "request 5-3 stall",
                          "request -3 stall",
                          "request 1 of stall",
                          "request 1 of 0x100 stall",
                          "request 1 stall now",
                          "request 1 reply",
                          "request 1 reply zz",
                          "bulk 1 short 3",
                          "frame 1 split 0",
                          "frame 1 short -1",
                          "frame 1 short 99999999999999999999",
                          "stream ends",
                          "stream ends after",
                          "eeprom lives",
                          "unplug",
                          "unplug at 5",
                          "unplug at ms",
                          "unplug after 0 frames",
                          "unplug after 5 cats",
                          "unplug at 1s back",
                          "unplug at 1s back after 1s on port 0",
                          "unplug at 1s back after 1s on port 65",
                          "open",
                          "claim idle",
                          "camera 0 open denied",
                          "camera 1"}) {
    EXPECT_THAT(script_complaint(bad), HasSubstr("expected")) << bad;
  }
}

}  // namespace
}  // namespace kxsim
