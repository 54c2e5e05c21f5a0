// SPDX-License-Identifier: Apache-2.0
// What is concluded from facts.
#include "doctor/checks.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include "doctor/findings_output.h"
#include "doctor/privacy.h"

namespace kxcam::doctor {
namespace {

using testing::HasSubstr;
using testing::Not;

CameraFacts healthy_camera() {
  CameraFacts camera;
  camera.port = "2-1.4";
  camera.product_id = 0x3500;
  camera.megabits = 5000;
  camera.power_control = "on";
  camera.node = {"/dev/bus/usb/002/007", 0, 0660, "plugdev", Membership::kYes};
  camera.usb = UsbAccess{};
  return camera;
}

Facts healthy() {
  Facts facts;
  facts.super_speed_bus = true;
  facts.configuration = {"/etc/kxusb.conf", 0, "<VPD>\na7b7 3500 camera\na7b7 3ff0 camera\n</VPD>\n"};
  facts.rule = {"/usr/lib/udev/rules.d/70-kxcam.rules", true};
  facts.usbfs_memory_mb = 16;
  facts.cameras = {healthy_camera()};
  return facts;
}

TEST(Examination, FindsNothingWrongWhereNothingIs) {
  const Findings findings = examine(healthy());
  EXPECT_FALSE(has_problem(findings)) << as_text(healthy(), findings);
  EXPECT_EQ(findings.size(), 10U) << "every check spoke";
  for (const auto& finding : findings) EXPECT_EQ(finding.remedy, "") << finding.text;
  EXPECT_FALSE(find_obstacle(healthy(), "2-1.4"));
}

/// What is changed about healthy facts, and what follows: one complaint, or with kOk none, from that check.
struct Row {
  void (*change)(Facts& facts, CameraFacts& camera);
  const char* check;
  Severity severity;
  const char* text;  ///< part of the finding or its remedy
  std::optional<ExitCode> prevents_use = {};
};

constexpr auto kOk = Severity::kOk;
constexpr auto kWarning = Severity::kWarning;
constexpr auto kProblem = Severity::kProblem;
constexpr auto kFailure = ExitCode::kFailure;
constexpr auto kNoPermission = ExitCode::kNoPermission;

void expect_conclusions(const Facts& start, std::initializer_list<Row> rows) {
  for (int number = 1; const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "row " << number++ << ", " << row.check << ": " << row.text);
    Facts facts = start;
    facts.cameras.reserve(16);  // rows add copies of the first
    row.change(facts, facts.cameras.front());
    if (facts.cameras.size() > 1 && facts.cameras[1].port.empty()) facts.cameras.clear();
    Findings complaints;
    std::string texts;
    for (const auto& finding : examine(facts)) {
      if (finding.check == row.check) texts += finding.text + "\n" + finding.remedy + "\n";
      if (finding.severity != kOk) complaints.push_back(finding);
      EXPECT_THAT(finding.text, Not(HasSubstr("\x1b")));
    }
    EXPECT_THAT(texts, HasSubstr(row.text));
    EXPECT_EQ(complaints.size(), row.severity == kOk ? 0U : 1U) << as_text(facts, complaints);
    if (complaints.empty()) continue;
    EXPECT_EQ(complaints[0].check, row.check);
    EXPECT_EQ(complaints[0].severity, row.severity);
    EXPECT_EQ(complaints[0].prevents_use, row.prevents_use);
    EXPECT_NE(complaints[0].remedy, "");
    const auto obstacle = find_obstacle(facts, facts.cameras.empty() ? "" : "2-1.4");
    EXPECT_EQ(obstacle.has_value(), row.prevents_use.has_value());
  }
}

void no_cameras(Facts& facts) {
  facts.cameras = {CameraFacts{}, CameraFacts{}};  // taken out before they are examined
}

TEST(Examination, OfTheMachine) {
  using F = Facts;
  using C = CameraFacts;
  constexpr auto kNone = ExitCode::kNoCamera;
  expect_conclusions(
      healthy(),
      {{[](F& f, C&) { no_cameras(f); }, "bus", kProblem, "cable", kNone},
       {[](F& f, C&) { no_cameras(f), f.usb_in_sysfs = false; }, "bus", kProblem, "no USB bus", kNone},
       // The machine's own bus does not matter then.
       {[](F& f, C&) { no_cameras(f), f.usb_in_sysfs = f.node_folder = false, f.simulated = true; }, "bus",
        kProblem, "no camera found", kNone},
       {[](F& f, C&) { f.node_folder = false; }, "device-files", kProblem, "udev", kNone},
       {[](F& f, C&) { f.node_folder = false, f.container = true; }, "device-files", kProblem,
        "-v /dev/bus/usb", kNone},
       {[](F& f, C&) { f.libusb_start = LIBUSB_ERROR_OTHER; }, "device-files", kProblem, "libusb", kFailure},
       {[](F& f, C&) { f.libusb_start = LIBUSB_ERROR_OTHER, f.simulated = true; }, "device-files", kProblem,
        "libusb", kFailure},
       {[](F& f, C&) {
          f.configuration = {"/etc/kxusb.conf", ENOENT, ""};
        },
        "configuration", kProblem, "libkxcam1", ExitCode::kNoConfiguration},
       {[](F& f, C&) { f.configuration.text = "# comment\n\x1b[2J 1\n"; }, "configuration", kProblem,
        "line 2", kFailure},
       // A row outside of the block ends the process.
       {[](F& f, C&) { f.configuration.text = "<VPD>\na7b7 3501 camera\n</VPD>\na7b7 3500\n"; },
        "configuration", kProblem, "line 4", kFailure},
       {[](F& f, C&) { f.configuration.text = "<VPD>\na7b7 3501 camera\n</VPD>\n"; }, "listed", kProblem,
        "\"a7b7 3500 camera\"", kNone},
       // A camera's transfer is its frame, at most 8 MiB, and the kernel adds to it: two of these do not fit
       // in 16.
       {[](F& f, C& c) {
          f.configuration.text += "<VPD>\na7b7 392b camera\n</VPD>\n";
          c.product_id = 0x392B;
          f.cameras.push_back(c);
        },
        "memory", kWarning, "17 MB"},
       {[](F& f, C& c) {
          f.configuration.text += "<VPD>\na7b7 392b camera\n</VPD>\n";
          c.product_id = 0x392B;
          f.usbfs_memory_mb = 8;
        },
        "memory", kProblem, "a camera alone takes 9 MB"},
       {[](F& f, C& c) { f.cameras.push_back(c), f.cameras.push_back(c); }, "memory", kOk, "16 MB"},
       {[](F& f, C& c) { f.cameras.insert(f.cameras.end(), 9, c), f.usbfs_memory_mb = 0; }, "memory", kOk,
        "unlimited"}});
}

TEST(Examination, OfACamera) {
  using F = Facts;
  using C = CameraFacts;
  constexpr auto kInUse = ExitCode::kInUse;
  const auto denied = [](F&, C& c) {
    c.usb->open = LIBUSB_ERROR_ACCESS;
    c.node = {"/dev/bus/usb/002/007", EACCES, 0664, "root", Membership::kNone};
  };
  Facts locked = healthy();
  denied(locked, locked.cameras.front());
  expect_conclusions(
      locked,
      {{[](F&, C&) {}, "permission", kProblem, "not in force", kNoPermission},
       {[](F& f, C&) {
          f.rule = {"/etc/udev/rules.d/70-kxcam.rules", false};
        },
        "permission", kProblem, "sudo rm /etc/udev/rules.d/70-kxcam.rules", kNoPermission},
       {[](F& f, C&) { f.rule = {}; }, "permission", kProblem, "apt install libkxcam1", kNoPermission},
       {[](F& f, C&) { f.rule = {}; }, "permission", kProblem, "udevadm trigger", kNoPermission},
       {[](F&, C& c) { c.node.group = "cameras", c.node.mode = 0660; }, "permission", kProblem,
        "adduser \"$USER\" cameras", kNoPermission},
       {[](F&, C& c) { c.node.group = "cameras", c.node.membership = Membership::kAfterLogin; }, "permission",
        kProblem, "Log in again", kNoPermission},
       {[](F&, C& c) { c.node.group = "cameras", c.node.membership = Membership::kYes; }, "permission",
        kProblem, "getfacl", kNoPermission},
       {[](F&, C& c) { c.node.error = 0; }, "permission", kProblem, "sandbox", kNoPermission},
       {[](F& f, C& c) { c.node.error = 0, f.container = true; }, "permission", kProblem,
        "--device-cgroup-rule", kNoPermission},
       {[](F&, C& c) { c.usb.reset(); }, "permission", kProblem, "/dev/bus/usb/002/007 may not be opened",
        kNoPermission},
       {[](F&, C& c) { c.usb.reset(), c.node.error = ENOENT; }, "permission", kProblem, "missing",
        kNoPermission},
       {[](F&, C& c) { c.usb->open = LIBUSB_ERROR_NO_DEVICE, c.node.error = 0; }, "permission", kProblem,
        "LIBUSB_ERROR_NO_DEVICE", kFailure}});
  expect_conclusions(
      healthy(),
      {{[](F&, C& c) { c.usb.reset(); }, "permission", kOk, "may be opened"},
       {[](F&, C& c) {
          c.holders = {{4711, "viewer"}};
        },
        "use", kOk, "no other program"},  // open, but not claimed
       {[](F&, C& c) {
          c.holders = {{4711, "viewer"}, {4712, "logger"}}, c.kernel_driver = "usbfs";
        },
        "use", kProblem, "in use by another program: viewer (process 4711), logger (process 4712)", kInUse},
       {[](F&, C& c) { c.usb->claim = LIBUSB_ERROR_BUSY; }, "use", kProblem, "sudo kxcam doctor", kInUse},
       {[](F& f, C& c) { c.usb->claim = LIBUSB_ERROR_BUSY, f.root = true; }, "use", kProblem, "container",
        kInUse},
       {[](F&, C& c) { c.kernel_driver = "uvcvideo"; }, "use", kProblem,
        "echo 2-1.4:1.0 | sudo tee /sys/bus/usb/drivers/uvcvideo/unbind", kInUse},
       {[](F&, C& c) { c.usb->claim = LIBUSB_ERROR_NOT_FOUND; }, "use", kProblem, "LIBUSB_ERROR_NOT_FOUND",
        kFailure},
       {[](F&, C& c) { c.product_id = 0x3FF0; }, "model", kProblem, "firmware", kFailure},
       {[](F&, C& c) { c.product_id = 0x3FF0, c.usb->true_product = 0x392B; }, "model", kOk, "19.9MP"},
       {[](F&, C& c) { c.product_id = 0x3FF0, c.usb->true_product = 0x1234; }, "model", kProblem,
        "does not know", kFailure},
       {[](F&, C& c) { c.power_control = "auto"; }, "power", kWarning,
        "/sys/bus/usb/devices/2-1.4/power/control"},
       {[](F&, C& c) { c.power_control = "auto"; }, "power", kWarning,
        "TLP"},  // something has undone the rule
       {[](F& f, C& c) { c.power_control = "auto", f.rule = {}; }, "power", kWarning, "70-kxcam.rules"},
       {[](F&, C& c) { c.megabits = 480; }, "speed", kOk, "480"},  // nobody knows that it can do more
       {[](F&, C& c) { c.megabits = 480, c.usb->super_speed = false; }, "speed", kOk, "480"},
       {[](F&, C& c) { c.megabits = 480, c.usb->super_speed = true; }, "speed", kWarning, "USB 3 port"},
       {[](F& f, C& c) { c.megabits = 480, c.usb->super_speed = true, f.super_speed_bus = false; }, "speed",
        kWarning, "no USB 3 bus"},
       {[](F&, C& c) {
          c.megabits = 480, c.usb->super_speed = true;
          c.hubs = {{"usb2", "Host Controller", 480, 0x0200}, {"2-1", "Desk Hub", 480, 0x0210}};
        },
        "speed", kWarning, "usb2 Host Controller, 480 Mbit/s > 2-1 Desk Hub, 480"},
       {[](F&, C& c) {
          c.megabits = 480, c.usb->super_speed = true;
          c.hubs = {{"usb2", "Host Controller", 480, 0x0200}, {"2-1", "Desk Hub", 480, 0x0200}};
        },
        "speed", kWarning, "hub at 2-1 is a USB 2 hub"},
       {[](F&, C& c) { c.megabits = 12; }, "speed", kProblem, "too slow"}});
}

// The library opens all listed cameras to find one, but claims only that one.
TEST(Obstacle, IsOneToTheCameraThatIsMeant) {
  Facts facts = healthy();
  facts.cameras.push_back(healthy_camera());
  CameraFacts& other = facts.cameras.back();
  other.port = "2-2";
  other.usb->claim = LIBUSB_ERROR_BUSY;
  EXPECT_FALSE(find_obstacle(facts, "2-1.4"));
  EXPECT_EQ(find_obstacle(facts, "2-2")->prevents_use, ExitCode::kInUse);
  other.usb->open = LIBUSB_ERROR_ACCESS;
  EXPECT_EQ(find_obstacle(facts, "2-1.4")->prevents_use, kNoPermission);
  other.product_id = 0x3501;
  EXPECT_FALSE(find_obstacle(facts, "2-1.4")) << "not listed";
}

TEST(Privacy, ReplacesWholeWordsOnly) {
  const std::vector<PrivateWord> words = {
      {"/home/usb", "HOME"}, {"usb", "USER"}, {"lab", "HOST"}, {"", "nothing"}, {"/", "slash"}};
  EXPECT_EQ(without(words, "usb: /home/usb/a.conf libusb usb3 /usb-lab/"),
            "USER: HOME/a.conf libusb usb3 /USER-HOST/");
  EXPECT_EQ(without({{"a", "b"}, {"aa", "aa"}}, "aa"), "aa") << "ends";
}

}  // namespace
}  // namespace kxcam::doctor
