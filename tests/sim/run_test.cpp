// SPDX-License-Identifier: Apache-2.0

// kxsim as a user runs it.

#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "device/camera_options.h"
#include "device/model.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

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

TEST(Kxsim, FaultsReachTheCamera) {
  EXPECT_EQ(kxsim("run -c 0x3500 -c 0x3500,serial=Z -f 'camera 1 open denied' -- " PROBE).output,
            "a7b7:3500 ?\na7b7:3500 Z\n");
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

// A libusb with 64-bit file offsets inside another library.
TEST_F(KxsimRun, ThePackageUsbOfNodeFindsTheCamera) {
  if (shell("node -e 'require(\"usb\").getDeviceList'").status != 0)
    GTEST_SKIP() << "needs node and its package usb, version 2 (see NODE_PATH)";
  constexpr const char* kScript =
      "run -c 3500 -- node -e 'const [camera] = require(\"usb\").getDeviceList(); camera.open();"
      "camera.controlTransfer(0xC0, 0xB3, 0, 0, 4, (error, data) => {"
      " console.log(error, data.toString(\"hex\")); camera.close(); });'";
  EXPECT_THAT(kxsim(kScript).output, testing::EndsWith("00008310\n"));
}

// libusb beside a library that looks for devices of its own through libudev.
TEST_F(KxsimRun, GStreamersDeviceMonitorGetsAlong) {
  if (shell("command -v gst-device-monitor-1.0").status != 0) GTEST_SKIP() << "needs gst-device-monitor-1.0";
  EXPECT_EQ(kxsim("run -- gst-device-monitor-1.0").status, 0);
}

TEST_F(KxsimRun, ListingProgramsShowNames) {
  if (shell("command -v lsusb").status != 0) GTEST_SKIP() << "needs lsusb";
  EXPECT_THAT(kxsim("run -c 3500 -- lsusb -v").output,
              AllOf(HasSubstr("1 kxsim\n"), HasSubstr("2 Model 5MP-C\n")));
}

// As a test of an application does it: the cable of the camera that it has open is pulled from outside.
TEST_F(KxsimRun, ARunningProgramsCamerasTakeCommands) {
  constexpr const char* kScript =
      "run -c 3500 -c 0500 -- sh -c '" PROBE " wait & while ! " PROBE
      " tell status >/dev/null 2>&1; do sleep 0.01; done; " PROBE " tell unplug 1; " PROBE
      " tell unplug; " PROBE " tell status; " PROBE " tell plug 1; wait'";
  EXPECT_THAT(kxsim(kScript).output,
              testing::MatchesRegex("ok\nerror: expected the number of a camera, 1 to 2\n"
                                    "camera 1: unplugged, .*\ncamera 2: plugged in, .*\nok\nback\n"));
}

TEST_F(KxsimRun, TheExitStatusIsTheCommands) {
  EXPECT_EQ(kxsim("run -- sh -c 'exit 42'").status, 42);
  EXPECT_EQ(kxsim("run -- sh -c 'kill -9 $$'").status, 128 + 9);
  const auto missing = kxsim("run -- /no/such/program");
  EXPECT_EQ(missing.status, 127);
  EXPECT_THAT(missing.output, HasSubstr("/no/such/program"));
  EXPECT_EQ(kxsim("run -- /dev/null").status, 126);
}

TEST_F(KxsimRun, SignalsAreForwarded) {
  EXPECT_EQ(shell(std::string("timeout -s TERM 0.3 ") + KXSIM +
                  " run -- sh -c 'trap \"echo caught; exit 3\" TERM; while :; do sleep 0.02; done'; true")
                .output,
            "caught\n");
}

TEST_F(KxsimRun, OrdinaryProgramsAreNotDisturbed) {
  const auto result =
      kxsim("run -- sh -c 'ls /dev | wc -l; seq 1000 | sort -n | tail -1; stat -f -c %T /sys | wc -l'");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n1000\n1\n"));
}

TEST(Kxsim, WrongOptionsAreNamedAndNothingRuns) {
  const auto refused = [](const std::string& arguments) {
    const auto result = kxsim("run " + arguments + " -- echo ran");
    EXPECT_EQ(result.status, 125) << arguments;
    EXPECT_THAT(result.output, testing::Not(HasSubstr("ran"))) << arguments;
    return result.output;
  };
  EXPECT_THAT(refused("-c 99MP"), AllOf(HasSubstr("99MP"), HasSubstr("5MP-C")));
  EXPECT_THAT(refused("-f 'bulk 1 melt'"), HasSubstr("'melt'"));
  EXPECT_THAT(refused("-f @/no/such/file"), HasSubstr("/no/such/file"));
  EXPECT_THAT(refused("-s /no/such/picture.png"), HasSubstr("/no/such/picture.png"));
  EXPECT_THAT(refused("--conf /no/such/conf"), HasSubstr("/no/such/conf"));
  for (const char* nowhere : {"2>&-", "2>/dev/full"}) {
    EXPECT_EQ(shell(std::string("sh -c '") + KXSIM + " run -c 99MP -- true " + nowhere + "'").status, 125)
        << nowhere;
  }
  EXPECT_EQ(kxsim("").status, 125);
  EXPECT_EQ(kxsim("run").status, 125);
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
  const auto json = kxsim("models --json");
  for (const auto& model : kxsim::all_models()) {
    char id[32];
    std::snprintf(id, sizeof id, "\"product_id\": \"0x%04X\"", model.product_id);
    EXPECT_THAT(json.output, HasSubstr(id));
  }
  EXPECT_THAT(kxsim("--version").output, testing::StartsWith("kxsim "));
}

}  // namespace
