// SPDX-License-Identifier: Apache-2.0

// Fault scripts and what comes of them.

#include <cstring>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "host.h"

namespace kxsim {
namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using testing::HasSubstr;

constexpr size_t kFaultyFrame = 640 * 480;

class Faulty : public Host {
 public:
  explicit Faulty(const char* script, const char* description = "304B,fps=0") : Host(description) {
    camera.set_frame_source(fill_with_pattern);
    ask(kStartStream);
    camera.inject(parse_fault_script(script));
  }

  /// What a host meets that does these things in turn: f (asks for the firmware version), g (for the GPIO
  /// lines), e and p (writes the EEPROM, a page of the flash), h (clears a halt), r and R (reads a frame, and
  /// waits briefly for one).
  std::string meets(const char* actions) {
    std::ostringstream met;
    for (const char* action = actions; *action != '\0'; ++action) met << one(*action) << ' ';
    std::string text = met.str();
    text.pop_back();
    return text;
  }

 private:
  std::string one(char action) {
    switch (action) {
      case 'f':
      case 'g': {
        const auto reply = ask(action == 'f' ? kFirmwareVersion : kGetGpio);
        return reply ? std::to_string(reply->size()) : camera.powered() ? "refused" : "gone";
      }
      case 'e':
        return tell(kEepromWrite, 0, 1) ? "ok" : "refused";
      case 'p':
        return tell(kFlashWrite, 0x400, 0, Bytes(256)) ? "ok" : "refused";
      case 'h':
        return camera.clear_halt() ? "ok" : "gone";
      default:
        return after(read(2 * kFaultyFrame, action == 'r' ? std::chrono::seconds(10) : milliseconds(20)));
    }
  }

  static std::string after(const Read& read) {
    if (!read.status) return "nothing";
    switch (*read.status) {
      case TransferStatus::kCompleted:
        return std::to_string(static_cast<long>(read.bytes.size()) - static_cast<long>(kFaultyFrame));
      case TransferStatus::kStalled:
        return "stalled";
      case TransferStatus::kOverflow:
        return "overflow";
      case TransferStatus::kDisconnected:
        return "gone";
      default:
        return "error";
    }
  }
};

TEST(Faults, ComeOutAsTheScriptSays) {
  struct Row {
    const char* script;
    const char* actions;
    const char* met;  ///< bytes of a reply, or of a frame more than it has
  };
  constexpr Row kRows[] = {
      {"request 2 of 0xB3 stall; request 3 of b3 short 1; request 4 of B3 reply 12 0x34  # lies\n"
       "request 5 of 0xB3 timeout; request 6 of 0xB3 garbage",
       "fgfffffgf", "4 1 refused 1 2 refused 4 1 4"},
      {"request 2-3 stall", "gggg", "1 refused refused 1"},
      {"request 3- stall", "gggg", "1 1 refused refused"},
      {"request 2 unplug", "ggg", "1 gone gone"},
      {"frame 2 short 100; frame 3 long 100; frame 4 split 100000; frame 6-7 missing", "rrrrrrrrr",
       "0 -100 100 -207200 -207200 -207200 -300000 0 0"},
      {"frame 1 unended 200", "rr", "307000 0"},
      {"frame all missing", "Rg", "nothing 1"},
      {"bulk 2 error; bulk 3 overflow; bulk 4 stall", "rrrrrhr", "0 error overflow stalled stalled ok 0"},
      {"bulk 2 timeout", "rRr", "0 nothing 0"},
      {"bulk 2 unplug", "rrg", "0 gone gone"},
      {"stream ends after 2", "rrRg", "0 0 nothing 1"},
      {"eeprom dies after 2", "eee", "ok ok refused"},
      {"flash dies after 300", "ppp", "ok refused refused"},
      {"unplug after 2 requests", "ggg", "1 1 gone"},
      {"unplug after 2 frames", "rrr", "0 0 gone"},
      {"camera 2 frame 1 short 9\n\n frame 2 short 1", "rr", "0 -1"},
  };
  for (const Row& row : kRows) EXPECT_EQ(Faulty(row.script).meets(row.actions), row.met) << row.script;
}

TEST(Faults, AnUnansweredRequestHasNoEffect) {
  Faulty host("request 1 timeout", "3500,fps=0");
  HostTransfer transfer(0);
  ASSERT_TRUE(host.camera.submit_control({0x40, kSensorWrite, 7, 0x09, 0}, transfer));
  EXPECT_EQ(transfer.wait(milliseconds(20)), std::nullopt);
  EXPECT_TRUE(host.camera.cancel(transfer));
  EXPECT_EQ(transfer.wait(), TransferStatus::kCancelled);
  EXPECT_NE(host.camera.sensor_register(0x09), 7);
}

TEST(Faults, AFlashThatDiesKeepsWhatWasWrittenUntilThen) {
  Faulty host("flash dies after 300");
  EXPECT_TRUE(host.tell(kFlashPrepare, 4, 1));
  EXPECT_EQ(host.meets("p"), "ok");
  EXPECT_FALSE(host.tell(kFlashWrite, 0x401, 0, Host::Bytes(256)));
  EXPECT_FALSE(host.tell(kFlashPrepare, 4, 1)) << "an erasure is a write too";
  EXPECT_EQ(std::ranges::count(host.ask(kFlashRead, 0x400, 0, 512).value(), 0), 300);
}

TEST(Faults, TheCableIsPulledAndPluggedInAgain) {
  Faulty host("unplug after 2 frames back after 20ms");
  EXPECT_EQ(host.meets("rrr"), "0 0 gone");
  ASSERT_TRUE(Host::eventually([&] { return host.camera.powered(); }));
  EXPECT_FALSE(host.camera.streaming()) << "as after power-up";
  EXPECT_TRUE(host.ask(kStartStream));
  EXPECT_EQ(host.read(2 * kFaultyFrame).bytes, pattern_frame(0, kFaultyFrame));

  Faulty timed("unplug at 30ms");
  timed.ask(kStopStream);
  EXPECT_EQ(timed.meets("r"), "gone");
}

std::string script_complaint(std::string_view script) {
  try {
    parse_fault_script(script);
  } catch (const BadFaultScript& error) {
    return error.what();
  }
  return "none";
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
                          "eeprom lives",
                          "unplug",
                          "unplug at 5",
                          "unplug after 0 frames",
                          "unplug after 5 cats",
                          "unplug at 1s back",
                          "unplug at 1s back after 1s on port 0",
                          "unplug at 1s back after 1s on port 65",
                          "claim idle",
                          "camera 0 open denied",
                          "camera 1",
                          "camera 2 bulk 1 stal"}) {
    EXPECT_THAT(script_complaint(bad), HasSubstr("expected")) << bad;
  }
}

}  // namespace
}  // namespace kxsim
