// SPDX-License-Identifier: Apache-2.0
// What is concluded from facts.
#include "doctor/checks.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include "doctor/findings_output.h"

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

/// The finding of that name; a failure and an empty one when it is not there exactly once.
Finding find(const Facts& facts, const std::string& check) {
  Finding found;
  int times = 0;
  for (const auto& finding : examine(facts)) {
    if (finding.check != check) continue;
    found = finding;
    ++times;
  }
  EXPECT_EQ(times, 1) << check;
  return found;
}

/// The one thing wrong with these facts.
Finding only_complaint(const Facts& facts) {
  Findings complaints;
  for (const auto& finding : examine(facts)) {
    if (finding.severity != Severity::kOk) complaints.push_back(finding);
  }
  EXPECT_EQ(complaints.size(), 1U) << as_text(facts, complaints);
  return complaints.empty() ? Finding{} : complaints.front();
}

TEST(Examination, FindsNothingWrongWhereNothingIs) {
  const Findings findings = examine(healthy());
  EXPECT_FALSE(has_problem(findings)) << as_text(healthy(), findings);
  EXPECT_EQ(findings.size(), 10U) << "every check spoke";
  for (const auto& finding : findings) EXPECT_EQ(finding.remedy, "") << finding.text;
}

TEST(Examination, AskedAboutAnEmptyBusBlamesCableContainerOrKernel) {
  Facts facts = healthy();
  facts.cameras.clear();
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("cable"));
  facts.node_folder = false;
  EXPECT_THAT(find(facts, "device-files").remedy, HasSubstr("udev"));
  facts.container = true;
  EXPECT_THAT(find(facts, "device-files").remedy, HasSubstr("-v /dev/bus/usb"));
  facts.usb_in_sysfs = false;
  EXPECT_THAT(find(facts, "bus").text, HasSubstr("no USB bus"));

  facts.simulated = true;
  const Finding absent = only_complaint(facts);
  EXPECT_EQ(absent.check, "bus") << "the machine's own bus is nobody's business then";
  EXPECT_THAT(absent.text, HasSubstr("no camera"));
}

TEST(Examination, LibusbThatDoesNotStartIsAProblemAnywhere) {
  Facts facts = healthy();
  facts.libusb_start = LIBUSB_ERROR_OTHER;
  for (const bool simulated : {false, true}) {
    facts.simulated = simulated;
    EXPECT_EQ(find(facts, "device-files").severity, Severity::kProblem);
  }
}

TEST(Examination, ConfigurationFileIsJudgedBeforeItsRows) {
  Facts facts = healthy();
  facts.configuration = {"/etc/kxusb.conf", ENOENT, ""};
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("libkxcam1"));
  facts.configuration = {"/etc/kxusb.conf", 0, "# comment\n\x1b[2J 1\n"};
  const Finding bad = only_complaint(facts);
  EXPECT_THAT(bad.text, HasSubstr("line 2"));
  EXPECT_THAT(bad.text, Not(HasSubstr("\x1b")));
}

TEST(Examination, UnlistedCameraGetsTheRowToAdd) {
  Facts facts = healthy();
  facts.configuration.text = "<VPD>\na7b7 3501 camera\n</VPD>\na7b7 3500\n";
  EXPECT_EQ(only_complaint(facts).check, "configuration") << "a row outside of the block ends the process";
  facts.configuration.text = "<VPD>\na7b7 3501 camera\n</VPD>\n";
  const Finding unlisted = only_complaint(facts);
  EXPECT_EQ(unlisted.check, "listed");
  EXPECT_THAT(unlisted.remedy, HasSubstr("\"a7b7 3500 camera\""));
}

TEST(Examination, DeniedCameraGetsTheStepThatIsMissing) {
  Facts facts = healthy();
  CameraFacts& camera = facts.cameras.front();
  camera.usb->open = LIBUSB_ERROR_ACCESS;
  camera.node = {"/dev/bus/usb/002/007", EACCES, 0664, "root", Membership::kNone};
  const auto remedy = [&facts] {
    const Finding finding = only_complaint(facts);
    EXPECT_EQ(finding.check, "permission");
    EXPECT_THAT(finding.text, HasSubstr("/dev/bus/usb/002/007"));
    return finding.remedy;
  };
  EXPECT_THAT(remedy(), HasSubstr("not in force")) << "the rule is there, the node is root's";
  facts.rule = {"/etc/udev/rules.d/70-kxcam.rules", false};
  EXPECT_THAT(remedy(), HasSubstr("sudo rm /etc/udev/rules.d/70-kxcam.rules")) << "an empty file masks it";
  facts.rule = {};
  EXPECT_THAT(remedy(), HasSubstr("apt install libkxcam1"));
  EXPECT_THAT(remedy(), HasSubstr("udevadm trigger"));

  camera.node = {"/dev/bus/usb/002/007", EACCES, 0660, "cameras", Membership::kNone};
  EXPECT_THAT(remedy(), HasSubstr("adduser \"$USER\" cameras")) << "whoever gave it to that group";
  camera.node.membership = Membership::kAfterLogin;
  EXPECT_THAT(remedy(), HasSubstr("Log in again"));

  camera.node.membership = Membership::kYes;
  EXPECT_THAT(remedy(), HasSubstr("getfacl"));

  camera.node.error = 0;
  EXPECT_THAT(remedy(), HasSubstr("sandbox"));
  facts.container = true;
  EXPECT_THAT(remedy(), HasSubstr("--device-cgroup-rule"));
}

TEST(Examination, CameraThatLibusbDoesNotShowIsJudgedByItsNode) {
  Facts facts = healthy();
  CameraFacts& camera = facts.cameras.front();
  camera.usb.reset();
  EXPECT_EQ(find(facts, "permission").severity, Severity::kOk);
  camera.node = {"/dev/bus/usb/002/007", EACCES, 0600, "root", Membership::kNone};
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("no permission"));
  camera.node = {"/dev/bus/usb/002/007", ENOENT, 0, "", Membership::kNone};
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("missing"));
  camera.usb = UsbAccess{.open = LIBUSB_ERROR_NO_DEVICE};
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("missing"));
  camera.node.error = 0;
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("LIBUSB_ERROR_NO_DEVICE"));
}

TEST(Examination, CameraInUseNamesWhoHasIt) {
  Facts facts = healthy();
  CameraFacts& camera = facts.cameras.front();
  camera.holders = {{4711, "viewer"}, {4712, "logger"}};
  EXPECT_FALSE(has_problem(examine(facts))) << "open, but not claimed";
  camera.kernel_driver = "usbfs";
  camera.usb->claim = LIBUSB_ERROR_BUSY;
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("viewer (process 4711), logger (process 4712)"));
  camera.holders.clear();
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("sudo kxcam doctor"));
  facts.root = true;
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("container"));
  camera.kernel_driver = "uvcvideo";
  EXPECT_THAT(only_complaint(facts).remedy,
              HasSubstr("echo 2-1.4:1.0 | sudo tee /sys/bus/usb/drivers/uvcvideo/unbind"));
  camera.kernel_driver = "";
  camera.usb->claim = LIBUSB_ERROR_NOT_FOUND;
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("LIBUSB_ERROR_NOT_FOUND"));
}

TEST(Examination, SlowConnectionNamesWhatIsInTheWay) {
  Facts facts = healthy();
  CameraFacts& camera = facts.cameras.front();
  camera.megabits = 480;
  camera.hubs = {{"usb2", "Host Controller", 480, 0x0200}, {"2-1", "Desk Hub", 480, 0x0210}};
  EXPECT_EQ(find(facts, "speed").severity, Severity::kOk) << "nobody knows that it can do more";
  camera.usb->super_speed = false;
  EXPECT_EQ(find(facts, "speed").severity, Severity::kOk);
  camera.usb->super_speed = true;
  EXPECT_EQ(only_complaint(facts).severity, Severity::kWarning);
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("USB 3 port"));
  EXPECT_THAT(only_complaint(facts).remedy,
              HasSubstr("usb2 Host Controller, 480 Mbit/s > 2-1 Desk Hub, 480"));
  facts.super_speed_bus = false;
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("no USB 3 port"));
  camera.hubs[1].usb_version = 0x0200;
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("hub at 2-1 is one for USB 2"));
  camera.megabits = 12;
  EXPECT_EQ(only_complaint(facts).severity, Severity::kProblem);
}

TEST(Examination, SuspendedCameraIsAWarning) {
  Facts facts = healthy();
  facts.cameras.front().power_control = "auto";
  EXPECT_EQ(only_complaint(facts).severity, Severity::kWarning);
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("/sys/bus/usb/devices/2-1.4/power/control"));
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("TLP")) << "the rule is there, so something undid it";
  facts.rule = {};
  EXPECT_THAT(only_complaint(facts).remedy, HasSubstr("70-kxcam.rules"));
}

// A camera's transfer is its frame, at most 8 MiB, and the kernel adds to it: two of these do not fit in 16.
TEST(Examination, MemoryForTransfersIsCountedOverAllCameras) {
  Facts facts = healthy();
  facts.configuration.text += "<VPD>\na7b7 392b camera\n</VPD>\n";
  facts.cameras = {healthy_camera(), healthy_camera()};
  facts.cameras[0].product_id = facts.cameras[1].product_id = 0x392B;
  EXPECT_EQ(only_complaint(facts).severity, Severity::kWarning);
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("17 MB"));
  facts.usbfs_memory_mb = 17;
  EXPECT_EQ(find(facts, "memory").severity, Severity::kOk);
  facts.usbfs_memory_mb = 8;
  EXPECT_EQ(only_complaint(facts).severity, Severity::kProblem) << "not even one";
  facts.usbfs_memory_mb = 0;
  EXPECT_EQ(find(facts, "memory").severity, Severity::kOk) << "no limit";

  facts.usbfs_memory_mb = 16;
  facts.cameras[1].product_id = 0x3500;  // 5 megapixels
  EXPECT_EQ(find(facts, "memory").severity, Severity::kOk);
  facts.cameras[1].product_id = 0x3FF0;  // did not say which: the largest there is
  facts.cameras[1].usb->open = LIBUSB_ERROR_ACCESS;
  EXPECT_EQ(find(facts, "memory").severity, Severity::kWarning);
}

TEST(Examination, DeviceWithTheGenericIdIsAskedForItsModel) {
  Facts facts = healthy();
  CameraFacts& camera = facts.cameras.front();
  camera.product_id = 0x3FF0;
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("firmware"));
  camera.usb->true_product = 0x392B;
  EXPECT_THAT(find(facts, "model").text, HasSubstr("19.9MP"));
  camera.usb->true_product = 0x1234;
  EXPECT_THAT(only_complaint(facts).text, HasSubstr("does not know"));
}

}  // namespace
}  // namespace kxcam::doctor
