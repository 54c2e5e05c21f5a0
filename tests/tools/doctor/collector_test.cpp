// SPDX-License-Identifier: Apache-2.0
// Facts from a folder tree like that of a machine.
#include "doctor/collector.h"

#include <cerrno>
#include <fstream>

#include <gmock/gmock.h>
#include <libusb.h>
#include <unistd.h>

#include "temporary_folder.h"

namespace kxcam::doctor {
namespace {

namespace fs = std::filesystem;
using testing::Pair;

class FakeMachine : public testing::Test {
 protected:
  FakeMachine() { sources_ = {folder_.path(), "/etc/kxusb.conf", false}; }

  Facts collected(const UsbScan& scan = {}) const { return collect(sources_, scan); }

  void write(const fs::path& file, const std::string& text) {
    fs::create_directories((folder_.path() / file).parent_path());
    std::ofstream(folder_.path() / file) << text;
  }

  void write_values(const std::string& device,
                    std::initializer_list<std::pair<const char*, const char*>> values) {
    for (const auto& [name, value] : values) {
      write("sys/bus/usb/devices/" + device + "/" + name, std::string(value) + "\n");
    }
  }

  void link(const fs::path& from, const std::string& to) {
    fs::create_directories((folder_.path() / from).parent_path());
    fs::create_symlink(to, folder_.path() / from);
  }

  void add_camera() {
    write_values("usb2", {{"speed", "480"}, {"version", " 2.00"}, {"product", "Host Controller"}});
    write_values("usb3", {{"speed", "20000"}});
    write_values("2-1",
                 {{"speed", "480"}, {"version", " 2.10"}, {"idVendor", "05e3"}, {"product", "Hub\x1b"}});
    write_values("2-1.4", {{"idVendor", "a7b7"}, {"idProduct", "3500"}, {"busnum", "2"}, {"devnum", "7"}});
    write_values("2-1.4", {{"speed", "480"}, {"serial", "SECRET"}, {"power/control", "auto"}});
    write_values("2-1.4:1.0", {{"uevent", "DEVTYPE=usb_interface\nDRIVER=usbfs\nPRODUCT=a7b7/3500/100"}});
    write("sys/bus/usb/devices/2-1.4/descriptors", std::string("\x12\x01\x00", 3));
    write("dev/bus/usb/002/007", "");
  }

  Sources sources_;

 private:
  TemporaryFolder folder_;
};

TEST_F(FakeMachine, WithNothingInItLeavesEverythingUnknown) {
  const Facts facts = collected({LIBUSB_ERROR_OTHER, {}});
  EXPECT_EQ(facts.libusb_start, LIBUSB_ERROR_OTHER);
  EXPECT_EQ(facts.configuration.error, ENOENT);
  EXPECT_FALSE(facts.usb_in_sysfs || facts.node_folder || facts.container || facts.super_speed_bus);
  EXPECT_FALSE(facts.usbfs_memory_mb);
  EXPECT_EQ(facts.rule.file, "");
  EXPECT_TRUE(facts.cameras.empty());
}

TEST_F(FakeMachine, ShowsACameraThatLibusbDoesNot) {
  add_camera();
  write("etc/kxusb.conf", "<VPD>\n");
  write("sys/module/usbcore/parameters/usbfs_memory_mb", "200\n");
  write(".dockerenv", "");
  const Facts facts = collected();
  EXPECT_TRUE(facts.usb_in_sysfs && facts.node_folder && facts.container && facts.super_speed_bus);
  EXPECT_EQ(facts.configuration.text, "<VPD>\n");
  EXPECT_EQ(facts.usbfs_memory_mb, 200);
  ASSERT_EQ(facts.cameras.size(), 1U);
  const CameraFacts& camera = facts.cameras.front();
  EXPECT_EQ(camera.port, "2-1.4");
  EXPECT_EQ(camera.product_id, 0x3500);
  EXPECT_EQ(camera.megabits, 480);
  EXPECT_EQ(camera.power_control, "auto");
  EXPECT_EQ(camera.kernel_driver, "usbfs");
  EXPECT_EQ(camera.node.path, "/dev/bus/usb/002/007");
  EXPECT_EQ(camera.node.error, 0);
  EXPECT_FALSE(camera.usb);
  ASSERT_EQ(camera.hubs.size(), 2U);
  EXPECT_EQ(camera.hubs[0].name, "usb2");
  EXPECT_EQ(camera.hubs[1].name, "2-1");
  EXPECT_EQ(camera.hubs[1].product, "Hub?");
  EXPECT_EQ(camera.hubs[1].usb_version, 0x0210);
  EXPECT_THAT(camera.attributes, testing::Contains(Pair("descriptors", "120100")));
  EXPECT_THAT(camera.attributes, testing::Not(testing::Contains(Pair("serial", "SECRET"))));
}

TEST_F(FakeMachine, JoinsWhatLibusbAndTheKernelSay) {
  add_camera();
  write_values("2-3",
               {{"idVendor", "a7b7"}, {"idProduct", "not a number"}, {"busnum", "2"}, {"devnum", "9"}});
  const UsbAccess denied{.open = LIBUSB_ERROR_ACCESS};
  const Facts facts = collected({0, {{"2-1.4", 2, 7, 0x3500, 5000, denied}, {"1-1", 1, 3, 0x3FF0, 480, {}}}});
  ASSERT_EQ(facts.cameras.size(), 2U);
  EXPECT_EQ(facts.cameras[0].port, "1-1");
  EXPECT_EQ(facts.cameras[0].megabits, 480);
  EXPECT_EQ(facts.cameras[0].node.error, ENOENT);
  EXPECT_EQ(facts.cameras[1].megabits, 480) << "the kernel knows best";
  EXPECT_EQ(facts.cameras[1].usb.value().open, LIBUSB_ERROR_ACCESS);
}

TEST_F(FakeMachine, FindsTheProcessesThatHaveTheNodeOpen) {
  add_camera();
  write("proc/4711/comm", "viewer\n");
  link("proc/4711/fd/3", "/dev/bus/usb/002/007");
  link("proc/4711/fd/4", "/dev/bus/usb/002/007");
  link("proc/4712/fd/3", "/dev/bus/usb/002/008");
  link("proc/self/fd/3", "/dev/bus/usb/002/007");
  link("proc/" + std::to_string(getpid()) + "/fd/3", "/dev/bus/usb/002/007");
  const auto holders = collected().cameras.at(0).holders;
  ASSERT_EQ(holders.size(), 1U);
  EXPECT_EQ(holders.front().pid, 4711);
  EXPECT_EQ(holders.front().program, "viewer");

  sources_.simulated = true;
  const CameraFacts simulated = collected().cameras.at(0);
  EXPECT_TRUE(simulated.holders.empty()) << "that node is another device's";
  EXPECT_EQ(simulated.node.error, ENOENT);
}

TEST_F(FakeMachine, TakesTheRuleThatUdevWould) {
  const std::string rule = "ATTR{idVendor}==\"a7b7\", TAG+=\"uaccess\"\n";
  write("etc/udev/rules.d/10-other.rules", "SUBSYSTEM==\"usb\"\n");
  EXPECT_EQ(collected().rule.file, "");
  write("usr/lib/udev/rules.d/70-kxcam.rules", rule);
  EXPECT_EQ(collected().rule.file, "/usr/lib/udev/rules.d/70-kxcam.rules");
  EXPECT_TRUE(collected().rule.names_cameras);
  link("etc/udev/rules.d/70-kxcam.rules", "/dev/null");
  EXPECT_EQ(collected().rule.file, "/etc/udev/rules.d/70-kxcam.rules");
  EXPECT_FALSE(collected().rule.names_cameras) << "masked";
  write("run/udev/rules.d/71-mine.rules", rule);
  EXPECT_EQ(collected().rule.file, "/run/udev/rules.d/71-mine.rules");
}

}  // namespace
}  // namespace kxcam::doctor
