// SPDX-License-Identifier: Apache-2.0

// kxsim as a user runs it.

#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "device/camera_options.h"
#include "device/model.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

struct Result {
  int status = -1;
  std::string output;  // both streams
};

Result shell(const std::string& command) {
  Result result;
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 4096> buffer{};
  for (size_t n = 0; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
    result.output.append(buffer.data(), n);
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

Result kxsim(const std::string& arguments) {
  return shell(std::string(KXSIM) + " " + arguments);
}

size_t lines(const std::string& text) {
  return static_cast<size_t>(std::ranges::count(text, '\n'));
}

/// Programs of the system's. A sanitized module cannot be preloaded into them.
class KxsimRun : public testing::Test {
 protected:
  void SetUp() override {
#ifdef SANITIZED
    GTEST_SKIP() << "a sanitized module needs a sanitized program";
#endif
  }
};

TEST(Kxsim, TheProgramSeesItsCamerasInOrder) {
  const auto one = kxsim("run -- " PROBE);
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(one.output, "a7b7:3500 K\n");
  const auto three =
      kxsim("run -c 19.9MP-M,serial=A --camera 0x0500,serial=B -c 0x3A30,serial=C,generic -- " PROBE);
  EXPECT_EQ(three.output, "a7b7:392b A\na7b7:0500 B\na7b7:3ff0 C\n");
}

TEST_F(KxsimRun, TheConfigurationListsAllIdsForEveryUser) {
  const auto shown = kxsim("run -- sh -c 'cat $KXUSB_CONF; stat -c %A $KXUSB_CONF'");
  EXPECT_EQ(lines(shown.output), 3 + 83 + 1U);
  EXPECT_THAT(shown.output, testing::EndsWith("r--\n"));
  for (const auto& model : kxsim::all_models()) {
    char row[32];
    std::snprintf(row, sizeof row, "\na7b7 %04x ", model.product_id);
    EXPECT_THAT(shown.output, HasSubstr(row));
  }
  EXPECT_THAT(shown.output, AllOf(HasSubstr("\na7b7 3ff0 "), HasSubstr("<VPD>\n"), HasSubstr("</VPD>\n")));
  EXPECT_EQ(kxsim("run --conf /dev/null -- sh -c 'echo $KXUSB_CONF'").output, "/dev/null\n");
}

// libusb beside a library that looks for devices of its own through libudev, and a program that shows names.
TEST_F(KxsimRun, OtherUsersOfTheBusGetAlong) {
  if (shell("command -v gst-device-monitor-1.0 && command -v lsusb").status != 0)
    GTEST_SKIP() << "needs gst-device-monitor-1.0 and lsusb";
  EXPECT_EQ(kxsim("run -- gst-device-monitor-1.0").status, 0);
  EXPECT_THAT(kxsim("run -c 3500 -- lsusb -v").output,
              AllOf(HasSubstr("1 kxsim\n"), HasSubstr("2 Model 5MP-C\n")));
}

TEST_F(KxsimRun, LibudevStaysWithItsOtherUsers) {
  EXPECT_EQ(kxsim("run -- " UDEV_USER).output, "cpu\n");
}

// As a test of an application does it: the cable of the camera that it has open is pulled from outside.
TEST_F(KxsimRun, ARunningProgramsCamerasTakeCommands) {
  constexpr const char* kScript =
      "run -c 3500 -c 0500 -- sh -c '" PROBE " wait & while ! " PROBE
      " tell status >/dev/null 2>&1; do sleep 0.01; done; " PROBE " tell unplug 1; " PROBE
      " tell unplug; " PROBE " tell status; " PROBE " tell plug 1; wait'";
  EXPECT_THAT(
      kxsim(kScript).output,
      testing::MatchesRegex("ok\nerror: expected the number of a camera, 1 to 2\n"
                            "camera 1: unplugged, .*\ncamera 2: plugged in, .*\n(ok\nback|back\nok)\n"));
}

TEST_F(KxsimRun, PassesOnExitStatusAndSignals) {
  constexpr struct {
    const char* command;
    int status;
    const char* said;
  } kRows[] = {
      {"sh -c 'exit 42'", 42, ""},
      {"sh -c 'kill -9 $$'", 128 + 9, ""},
      {"/no/such/program", 127, "/no/such/program"},
      {"/dev/null", 126, "/dev/null"},
      {"sh -c 'ls /dev | wc -l; seq 1000 | sort -n | tail -1; stat -f -c %T /sys | wc -l'", 0, "\n1000\n1\n"},
  };
  for (const auto& row : kRows) {
    const auto result = kxsim(std::string("run -- ") + row.command);
    EXPECT_EQ(result.status, row.status) << row.command;
    EXPECT_THAT(result.output, HasSubstr(row.said));
  }
  EXPECT_EQ(shell(std::string("timeout -s TERM 0.3 ") + KXSIM +
                  " run -- sh -c 'trap \"echo caught; exit 3\" TERM; while :; do sleep 0.02; done'; true")
                .output,
            "caught\n");
}

TEST(Kxsim, WrongOptionsAreNamedAndNothingRuns) {
  constexpr std::pair<const char*, const char*> kRows[] = {
      {"-c 99MP", "99MP"},
      {"-c 99MP", "5MP-C"},
      {"-f 'bulk 1 melt'", "'melt'"},
      {"-f @/no/such/file", "/no/such/file"},
      {"-s /no/such/picture.png", "/no/such/picture.png"},
      {"--conf /no/such/conf", "/no/such/conf"},
  };
  for (const auto& [options, named] : kRows) {
    const auto result = kxsim(std::string("run ") + options + " -- echo ran");
    EXPECT_EQ(result.status, 125) << options;
    EXPECT_THAT(result.output, AllOf(HasSubstr(named), testing::Not(HasSubstr("ran"))));
  }
  for (const char* incomplete :
       {"", "run", "run -c 99MP -- true 2>&- #", "run -c 99MP -- true 2>/dev/full #"})
    EXPECT_EQ(kxsim(incomplete).status, 125) << incomplete;
}

TEST(Kxsim, ServedCamerasTakeCommands) {
  const std::string folder = testing::TempDir() + "kxsim-serve";
  const auto result = shell(
      "mkdir -p " + folder + " && cd " + folder +
      " && printf 'status\\nunplug 2\\nunplug\\nunplug 3\\nfault bulk 1 melt\\nfault bulk 1 "
      "stall\\nclear-faults\\nlight 2 0.5\\nlight off\\nlight x\\nstatus\\nplug 2\\ndance\\nquit\\n' | " +
      KXSIM + " serve -c 3500 -c 0500,serial=SECOND000002; ls");
  EXPECT_EQ(result.status, 0);
  constexpr const char* kOutput =
      "camera 1: Model 5MP-C KXSIM0000001 at ./camera1.sock\n"
      "camera 2: Model 5MP-C SECOND000002 at ./camera2.sock\n"
      "camera 1: no host, 0 requests, 0 frames sent, 0 lost, 0 resets\n"
      "camera 2: no host, 0 requests, 0 frames sent, 0 lost, 0 resets\n"
      "ok\n"
      "error: expected the number of a camera, 1 to 2\n"
      "error: expected the number of a camera, 1 to 2\n"
      "error: .*'melt'.*\n"
      "ok\nok\nok\nok\n"
      "error: .*'light=x'.*\n"
      "camera 1: no host, .*\n"
      "camera 2: unplugged, .*\n"
      "ok\n"
      "error: expected plug, .*\n"
      "ok\n";
  EXPECT_THAT(result.output, testing::MatchesRegex(kOutput)) << "and no socket is left";
  EXPECT_EQ(shell(std::string("timeout -s TERM 0.3 ") + KXSIM + " serve -d " + folder +
                  " </dev/null >&2; ls " + folder)
                .output,
            "");
}

TEST(Kxsim, EveryOptionOfACameraIsInHelpAndManual) {
  const auto help = kxsim("run --help").output;
  const auto manual = shell("cat " KXSIM_MANUAL).output;
  std::istringstream options(kxsim::camera_options_help());
  std::string line;
  std::getline(options, line);
  while (std::getline(options, line)) {
    EXPECT_THAT(help, HasSubstr(line));
    const auto key = line.substr(2, line.find_first_of("[= ", 2) - 2);
    EXPECT_THAT(manual, testing::ContainsRegex("\n[.]B[IR]? " + key)) << "in kxsim.1";
  }
}

TEST(Kxsim, ModelsAndVersion) {
  const auto table = kxsim("models");
  EXPECT_EQ(table.status, 0);
  EXPECT_EQ(lines(table.output), 1 + kxsim::all_models().size());
  EXPECT_THAT(table.output, HasSubstr("0x392B  Model 19.9MP-M      5472x3648  MONO8   newer\n"));
  EXPECT_THAT(kxsim("models --json").output, HasSubstr("\"product_id\": \"0x392B\""));
  EXPECT_THAT(kxsim("--version").output, testing::StartsWith("kxsim "));
}

}  // namespace
