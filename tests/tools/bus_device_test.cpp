// SPDX-License-Identifier: Apache-2.0
#include "bus_device.h"

#include <cerrno>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "diagnosis.h"
#include "temporary_folder.h"

namespace kxcam {
namespace {

namespace fs = std::filesystem;

/// A folder tree like the kernel's, with device nodes that are plain files.
class FakeBus : public testing::Test {
 protected:
  FakeBus() {
    fs::create_directories(sysfs());
    fs::permissions(folder_.path(), fs::perms(0755));
  }

  fs::path sysfs() const { return folder_.path() / "sys"; }
  fs::path nodes() const { return folder_.path() / "dev"; }
  std::vector<BusDevice> find() const { return find_bus_devices(sysfs(), nodes()); }

  void write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }

  void add(const std::string& port, const std::string& vendor, const std::string& address,
           fs::perms permissions = fs::perms(0666)) {
    write(sysfs() / port / "idVendor", vendor + "\n");
    write(sysfs() / port / "idProduct", "3500\n");
    write(sysfs() / port / "busnum", "2\n");
    write(sysfs() / port / "devnum", address + "\n");
    const fs::path node = nodes() / "002" / ("00" + address);
    write(node, "");
    fs::permissions(node, permissions);
  }

  void claim(const std::string& port) {
    const fs::path interface = sysfs() / port / (port + ":1.0");
    fs::create_directories(interface);
    fs::create_symlink("../../../bus/usb/drivers/usbfs", interface / "driver");
  }

 private:
  TemporaryFolder folder_;
};

TEST_F(FakeBus, FindsTheCamerasAmongOtherDevices) {
  EXPECT_TRUE(find_bus_devices("/nonexistent", "/nonexistent").empty());
  EXPECT_TRUE(find().empty());
  add("2-2", "a7b7", "7");
  add("2-1", "1d6b", "1");
  add("2-3", "a7b7", "5");
  write(sysfs() / "2-4" / "idVendor", "a7b7\n");  // vanishing: no address any more
  const auto found = find();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].node, nodes() / "002" / "005");
  EXPECT_EQ(found[1].node, nodes() / "002" / "007");
  EXPECT_EQ(found[1].product_id, "3500");
  EXPECT_EQ(found[1].access_error, 0);
  EXPECT_EQ(no_camera_error(found).exit_code(), ExitCode::kNoCamera)
      << "attached and allowed, so not configured";
}

TEST_F(FakeBus, TellsWhichNodeMayNotBeOpened) {
  add("2-2", "a7b7", "7", fs::perms(0));
  add("2-3", "a7b7", "5");
  const bool was_root = geteuid() == 0;
  if (was_root) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const auto found = find();
  if (was_root) {
    ASSERT_EQ(seteuid(0), 0);
  }
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].access_error, 0);
  EXPECT_EQ(found[1].access_error, EACCES);
  const Error error = no_camera_error(found);
  EXPECT_EQ(error.exit_code(), ExitCode::kNoPermission);
  EXPECT_NE(std::string(error.what()).find(found[1].node.string()), std::string::npos);
  EXPECT_NE(error.cure().find("udev"), std::string::npos);
}

TEST_F(FakeBus, AMissingNodeIsAPermissionMatterToo) {
  add("2-2", "a7b7", "7");
  fs::remove_all(nodes());
  EXPECT_EQ(find().at(0).access_error, ENOENT);
  EXPECT_EQ(no_camera_error(find()).exit_code(), ExitCode::kNoPermission);
}

TEST_F(FakeBus, InUseOnlyWhenEveryCameraIs) {
  EXPECT_FALSE(all_claimed(find()));
  add("2-2", "a7b7", "7");
  add("2-3", "a7b7", "5");
  claim("2-2");
  EXPECT_FALSE(all_claimed(find()));
  claim("2-3");
  EXPECT_TRUE(all_claimed(find()));
}

}  // namespace
}  // namespace kxcam
