// SPDX-License-Identifier: Apache-2.0

// Fault scripts and what comes of them.

#include <sstream>

#include <gmock/gmock.h>

#include "device/fault_script.h"
#include "device/vendor_request.h"
#include "eventually.h"
#include "host.h"
#include "numbered_frame.h"

namespace kxsim {
namespace {

using testing::HasSubstr;

constexpr size_t kFaultyFrame = 640 * 480;

class Faulty : public Host {
 public:
  explicit Faulty(const char* script) : Host("304B,fps=0") {
    ask(kStartStream);
    camera.inject(parse_fault_script(script));
  }

  /// What a host meets that does these things in turn: f (asks for the firmware version), g (for the GPIO
  /// lines), e and p (writes the EEPROM, a page of the flash), h (clears a halt), r and R (reads a frame, and
  /// waits briefly for one).
  std::string meets(const char* actions) {
    std::string met;
    for (const char* action = actions; *action != '\0'; ++action) met += ' ' + one(*action);
    return met.substr(1);
  }

 private:
  std::string one(char action) {
    if (action == 'h') return camera.clear_halt() ? "ok" : "gone";
    if (action == 'r') return read(2 * kFaultyFrame);
    if (action == 'R') return read_briefly(2 * kFaultyFrame);
    if (action == 'e') return tell(kEepromWrite, 0, 1) ? "ok" : "refused";
    if (action == 'p') return tell(kFlashWrite, 0x400, 0, Bytes(256)) ? "ok" : "refused";
    const auto reply = ask(action == 'f' ? kFirmwareVersion : kGetGpio);
    return reply ? std::to_string(reply->size()) : camera.powered() ? "refused" : "gone";
  }
};

TEST(Faults, ComeOutAsTheScriptSays) {
  constexpr struct {
    const char* script;
    const char* actions;
    const char* met;  ///< bytes of a reply or a frame, which has 307200
  } kRows[] = {
      {"request 2 of 0xB3 stall; request 3 of b3 short 1; request 4 of B3 reply 12 0x34  # lies\n"
       "request 5 of 0xB3 timeout; request 6 of 0xB3 garbage",
       "fgfffffgf", "4 1 refused 1 2 refused 4 1 4"},
      {"request 2-3 stall", "gggg", "1 refused refused 1"},
      {"request 3- stall", "gggg", "1 1 refused refused"},
      {"request 2 unplug", "ggg", "1 gone gone"},
      {"frame 2 short 100; frame 3 long 100; frame 4 split 100000; frame 6-7 missing", "rrrrrrrrr",
       "307200 307100 307300 100000 100000 100000 7200 307200 307200"},
      {"frame 1 unended 200", "rr", "614200 307200"},
      {"frame all missing", "Rg", "nothing 1"},
      {"bulk 2 error; bulk 3 overflow; bulk 4 stall", "rrrrrhr",
       "307200 error overflow stalled stalled ok 307200"},
      {"bulk 2 timeout", "rRr", "307200 nothing 307200"},
      {"bulk 2 unplug", "rrg", "307200 gone gone"},
      {"stream ends after 2", "rrRg", "307200 307200 nothing 1"},
      {"eeprom dies after 2", "eee", "ok ok refused"},
      {"flash dies after 300", "ppp", "ok refused refused"},
      {"unplug after 2 requests", "ggg", "1 1 gone"},
      {"unplug after 2 frames", "rrr", "307200 307200 gone"},
      {"unplug at 30ms; stream ends after 0", "r", "gone"},
      {"camera 2 frame 1 short 9\n\n frame 2 short 1", "rr", "307200 307199"},
  };
  for (const auto& row : kRows) EXPECT_EQ(Faulty(row.script).meets(row.actions), row.met) << row.script;
}

TEST(Faults, AFlashThatDiesKeepsWhatWasWrittenUntilThen) {
  Faulty host("flash dies after 300");
  EXPECT_TRUE(host.tell(kFlashPrepare, 4, 1));
  EXPECT_EQ(host.meets("p"), "ok");
  EXPECT_FALSE(host.tell(kFlashWrite, 0x401, 0, Bytes(256)));
  EXPECT_FALSE(host.tell(kFlashPrepare, 4, 1)) << "an erasure is a write too";
  EXPECT_EQ(std::ranges::count(host.ask(kFlashRead, 0x400, 0, 512).value(), 0), 300);
}

TEST(Faults, ACableThatIsPluggedInAgainBringsAFreshCamera) {
  Faulty host("unplug after 2 frames back after 20ms");
  EXPECT_EQ(host.meets("rrr"), "307200 307200 gone");
  ASSERT_TRUE(kxcam::test::eventually([&] { return host.camera.powered(); }));
  EXPECT_FALSE(host.camera.streaming());
  EXPECT_TRUE(host.ask(kStartStream));
  host.read(2 * kFaultyFrame);
  EXPECT_EQ(kxcam::test::number_of(host.bytes), 0);
}

TEST(FaultScript, MistakesAreNamed) {
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"bulk 1 error\n\nrequest 1 stal", {"line 3", "'stal'", "timeout"}},
      {"frame 1 short", {"bytes", "end of the line"}},
  };
  const auto complaint = [](const char* script) -> std::string {
    try {
      parse_fault_script(script);
      return "none";
    } catch (const BadFaultScript& error) {
      return error.what();
    }
  };
  for (const auto& [script, parts] : rows) {
    for (const char* part : parts) EXPECT_THAT(complaint(script), HasSubstr(part));
  }
  std::istringstream mistakes(
      "explode|request|request 0 stall|request x stall|request 5-3 stall|request -3 stall|"
      "request 1 of stall|request 1 of 0x100 stall|request 1 stall now|request 1 reply|"
      "request 1 reply zz|bulk 1 short 3|frame 1 split 0|frame 1 short -1|"
      "frame 1 short 99999999999999999999|stream ends|eeprom lives|unplug|unplug at 5|"
      "unplug after 0 frames|unplug after 5 cats|unplug at 1s back|"
      "unplug at 1s back after 1s on port 0|unplug at 1s back after 1s on port 65|claim idle|"
      "camera 0 open denied|camera 1|camera 2 bulk 1 stal");
  for (std::string bad; std::getline(mistakes, bad, '|');)
    EXPECT_THAT(complaint(bad.c_str()), HasSubstr("expected")) << bad;
}

}  // namespace
}  // namespace kxsim
