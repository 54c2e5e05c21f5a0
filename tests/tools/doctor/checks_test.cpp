// SPDX-License-Identifier: Apache-2.0
// What is concluded from facts.
#include "doctor/checks.h"

#include <cerrno>

#include <gmock/gmock.h>
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

constexpr auto kOk = Severity::kOk;
constexpr auto kWarning = Severity::kWarning;
constexpr auto kProblem = Severity::kProblem;
constexpr auto kFailure = ExitCode::kFailure;
constexpr auto kNoPermission = ExitCode::kNoPermission;
constexpr auto kInUse = ExitCode::kInUse;
constexpr auto kNone = ExitCode::kNoCamera;

using F = Facts;
using C = CameraFacts;

/// What is changed about the facts, and a part of the finding or its remedy.
struct Row {
  void (*change)(F& facts, C& camera);
  const char* text;
};

/// Facts with each change lead to one complaint, or with kOk to none, and that from this check.
void expect_conclusions(const Facts& start, const char* check, Severity severity,
                        std::optional<ExitCode> prevents_use, std::initializer_list<Row> rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << check << ": " << row.text);
    Facts facts = start;
    facts.cameras.reserve(16);  // rows add copies of the first
    row.change(facts, facts.cameras.front());
    if (facts.cameras.size() > 1 && facts.cameras[1].port.empty()) facts.cameras.clear();
    Findings complaints;
    std::string texts;
    for (const auto& finding : examine(facts)) {
      if (finding.check == check) texts += finding.text + "\n" + finding.remedy + "\n";
      if (finding.severity != kOk) complaints.push_back(finding);
      EXPECT_THAT(finding.text, Not(HasSubstr("\x1b")));
    }
    EXPECT_THAT(texts, HasSubstr(row.text));
    EXPECT_EQ(complaints.size(), severity == kOk ? 0U : 1U) << as_text(facts, complaints);
    if (complaints.empty()) continue;
    EXPECT_EQ(complaints[0].check, check);
    EXPECT_EQ(complaints[0].severity, severity);
    EXPECT_EQ(complaints[0].prevents_use, prevents_use);
    EXPECT_NE(complaints[0].remedy, "");
    const auto obstacle = find_obstacle(facts, facts.cameras.empty() ? "" : "2-1.4");
    EXPECT_EQ(obstacle.has_value(), prevents_use.has_value());
  }
}

void no_cameras(Facts& facts) {
  facts.cameras = {CameraFacts{}, CameraFacts{}};  // taken out before they are examined
}

void become_large(Facts& facts, CameraFacts& camera) {
  facts.configuration.text += "<VPD>\na7b7 392b camera\n</VPD>\n";
  camera.product_id = 0x392B;
}

void be_slow(CameraFacts& camera, std::optional<bool> super_speed, std::optional<uint16_t> hub_version = {}) {
  camera.megabits = 480;
  camera.usb->super_speed = super_speed;
  if (hub_version)
    camera.hubs = {{"usb2", "Host Controller", 480, 0x0200}, {"2-1", "Desk Hub", 480, *hub_version}};
}

TEST(Examination, OfTheMachine) {
  const Facts start = healthy();
  expect_conclusions(
      start, "bus", kProblem, kNone,
      {{[](F& f, C&) { no_cameras(f); }, "cable"},
       {[](F& f, C&) { no_cameras(f), f.usb_in_sysfs = false; }, "no USB bus"},
       // The machine's own bus does not matter then.
       {[](F& f, C&) { no_cameras(f), f.usb_in_sysfs = f.node_folder = false, f.simulated = true; },
        "no camera found"}});
  expect_conclusions(start, "device-files", kProblem, kNone,
                     {{[](F& f, C&) { f.node_folder = false; }, "udev"},
                      {[](F& f, C&) { f.node_folder = false, f.container = true; }, "-v /dev/bus/usb"}});
  expect_conclusions(start, "device-files", kProblem, kFailure,
                     {{[](F& f, C&) { f.libusb_start = LIBUSB_ERROR_OTHER; }, "libusb"},
                      {[](F& f, C&) { f.libusb_start = LIBUSB_ERROR_OTHER, f.simulated = true; }, "libusb"}});
  expect_conclusions(
      start, "configuration", kProblem, ExitCode::kNoConfiguration,
      {{[](F& f, C&) { f.configuration.error = ENOENT, f.configuration.text = ""; }, "libkxcam1"}});
  expect_conclusions(
      start, "configuration", kProblem, kFailure,
      {{[](F& f, C&) { f.configuration.text = "# comment\n\x1b[2J 1\n"; }, "line 2"},
       // A row outside of the block ends the process.
       {[](F& f, C&) { f.configuration.text = "<VPD>\na7b7 3501 camera\n</VPD>\na7b7 3500\n"; }, "line 4"}});
  expect_conclusions(start, "listed", kProblem, kNone,
                     {{[](F& f, C&) { f.configuration.text = "<VPD>\na7b7 3501 camera\n</VPD>\n"; },
                       "\"a7b7 3500 camera\""}});
  // A camera's transfer is its frame, at most 8 MiB, and the kernel adds to it: two of these do not fit
  // in 16.
  expect_conclusions(start, "memory", kWarning, {},
                     {{[](F& f, C& c) { become_large(f, c), f.cameras.push_back(c); }, "17 MB"}});
  expect_conclusions(
      start, "memory", kProblem, {},
      {{[](F& f, C& c) { become_large(f, c), f.usbfs_memory_mb = 8; }, "a camera alone takes 9 MB"}});
  expect_conclusions(
      start, "memory", kOk, {},
      {{[](F& f, C& c) { f.cameras.push_back(c), f.cameras.push_back(c); }, "16 MB"},
       {[](F& f, C& c) { f.cameras.insert(f.cameras.end(), 9, c), f.usbfs_memory_mb = 0; }, "unlimited"}});
}

TEST(Examination, OfACamera) {
  const Facts start = healthy();
  Facts locked = start;
  locked.cameras.front().usb->open = LIBUSB_ERROR_ACCESS;
  locked.cameras.front().node = {"/dev/bus/usb/002/007", EACCES, 0664, "root", Membership::kNone};
  expect_conclusions(
      locked, "permission", kProblem, kNoPermission,
      {{[](F&, C&) {}, "not in force"},
       {[](F& f, C&) { f.rule.file = "/etc/udev/rules.d/70-kxcam.rules", f.rule.names_cameras = false; },
        "sudo rm /etc/udev/rules.d/70-kxcam.rules"},
       {[](F& f, C&) { f.rule = {}; }, "apt install libkxcam1"},
       {[](F& f, C&) { f.rule = {}; }, "udevadm trigger"},
       {[](F&, C& c) { c.node.group = "cameras", c.node.mode = 0660; }, "adduser \"$USER\" cameras"},
       {[](F&, C& c) { c.node.group = "cameras", c.node.membership = Membership::kAfterLogin; },
        "Log in again"},
       {[](F&, C& c) { c.node.group = "cameras", c.node.membership = Membership::kYes; }, "getfacl"},
       {[](F&, C& c) { c.node.error = 0; }, "sandbox"},
       {[](F& f, C& c) { c.node.error = 0, f.container = true; }, "--device-cgroup-rule"},
       {[](F&, C& c) { c.usb.reset(); }, "/dev/bus/usb/002/007 may not be opened"},
       {[](F&, C& c) { c.usb.reset(), c.node.error = ENOENT; }, "missing"}});
  expect_conclusions(
      locked, "permission", kProblem, kFailure,
      {{[](F&, C& c) { c.usb->open = LIBUSB_ERROR_NO_DEVICE, c.node.error = 0; }, "LIBUSB_ERROR_NO_DEVICE"}});
  expect_conclusions(start, "permission", kOk, {}, {{[](F&, C& c) { c.usb.reset(); }, "may be opened"}});
  // Open, but not claimed.
  expect_conclusions(start, "use", kOk, {},
                     {{[](F&, C& c) {
                         c.holders = {{4711, "viewer"}};
                       },
                       "no other program"}});
  expect_conclusions(start, "use", kProblem, kInUse,
                     {{[](F&, C& c) {
                         c.holders = {{4711, "viewer"}, {4712, "logger"}}, c.kernel_driver = "usbfs";
                       },
                       "in use by another program: viewer (process 4711), logger (process 4712)"},
                      {[](F&, C& c) { c.usb->claim = LIBUSB_ERROR_BUSY; }, "sudo kxcam doctor"},
                      {[](F& f, C& c) { c.usb->claim = LIBUSB_ERROR_BUSY, f.root = true; }, "container"},
                      {[](F&, C& c) { c.kernel_driver = "uvcvideo"; },
                       "echo 2-1.4:1.0 | sudo tee /sys/bus/usb/drivers/uvcvideo/unbind"}});
  expect_conclusions(start, "use", kProblem, kFailure,
                     {{[](F&, C& c) { c.usb->claim = LIBUSB_ERROR_NOT_FOUND; }, "LIBUSB_ERROR_NOT_FOUND"}});
  expect_conclusions(
      start, "model", kProblem, kFailure,
      {{[](F&, C& c) { c.product_id = 0x3FF0; }, "firmware"},
       {[](F&, C& c) { c.product_id = 0x3FF0, c.usb->true_product = 0x1234; }, "does not know"}});
  expect_conclusions(start, "model", kOk, {},
                     {{[](F&, C& c) { c.product_id = 0x3FF0, c.usb->true_product = 0x392B; }, "19.9MP"}});
  expect_conclusions(
      start, "power", kWarning, {},
      {{[](F&, C& c) { c.power_control = "auto"; }, "/sys/bus/usb/devices/2-1.4/power/control"},
       {[](F&, C& c) { c.power_control = "auto"; }, "TLP"},  // something has undone the rule
       {[](F& f, C& c) { c.power_control = "auto", f.rule = {}; }, "70-kxcam.rules"}});
  expect_conclusions(start, "speed", kOk, {},
                     {{[](F&, C& c) { be_slow(c, {}); }, "480"},  // nobody knows that it can do more
                      {[](F&, C& c) { be_slow(c, false); }, "480"}});
  expect_conclusions(
      start, "speed", kWarning, {},
      {{[](F&, C& c) { be_slow(c, true); }, "USB 3 port"},
       {[](F& f, C& c) { be_slow(c, true), f.super_speed_bus = false; }, "no USB 3 bus"},
       {[](F&, C& c) { be_slow(c, true, 0x0210); }, "usb2 Host Controller, 480 Mbit/s > 2-1 Desk Hub, 480"},
       {[](F&, C& c) { be_slow(c, true, 0x0200); }, "hub at 2-1 is a USB 2 hub"}});
  expect_conclusions(start, "speed", kProblem, {}, {{[](F&, C& c) { c.megabits = 12; }, "too slow"}});
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
