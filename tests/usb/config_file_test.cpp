// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "kxcam/kxcam.h"
#include "usb/kxusb.h"

namespace kxcam {
namespace {

// The table of devices lives as long as the process: every case runs in a process of its own.
class ConfigFile : public ::testing::Test {
 protected:
  ConfigFile() { setenv("KXUSB_CONF", path_.c_str(), 1); }
  ~ConfigFile() override { std::remove(path_.c_str()); }
  ConfigFile(const ConfigFile&) = delete;
  ConfigFile& operator=(const ConfigFile&) = delete;

  void write(const std::string& text) const { std::ofstream(path_) << text; }
  bool read(const std::string& text) const {
    write(text);
    return read_config_file();
  }
  static size_t rows() { return listed_devices().size() - 16; }
  static const VpdRow& row(size_t i) { return listed_devices()[16 + i]; }
  std::string in_quotes(const std::string& token) const {
    return "Error in config file " + path_ + ": " + token + " \n";
  }

  std::string path_ = ::testing::TempDir() + "kxusb-" + std::to_string(getpid()) + ".conf";
};

TEST_F(ConfigFile, ReadsKeysAndDeviceRows) {
  ASSERT_TRUE(
      read("# cameras of the line\n"
           "LogFile=/var/log/kx.log\n"
           "PIDFile \t /run/kx.pid\n"
           "\n"
           "<VPD>\n"
           "  # a row may be indented, a comment may not\n"
           "a7b7 0500 Five\n"
           "\tA7B7\t3FF0\tA-description-of-more-than-thirty-characters rest of the line\n"
           "0xA7B7 0x303b\n"
           "</VPD>\n"));
  EXPECT_STREQ(logfile, "/var/log/kx.log");
  EXPECT_STREQ(pidfile, "/run/kx.pid");
  ASSERT_EQ(rows(), 4U);
  EXPECT_EQ(row(1).vendor, 0xA7B7);
  EXPECT_EQ(row(1).product, 0x0500);
  EXPECT_STREQ(row(1).description.data(), "Five");
  EXPECT_EQ(row(2).product, 0x3FF0);
  EXPECT_STREQ(row(2).description.data(), "A-description-of-more-than-th");
  EXPECT_EQ(row(3).product, 0x303B);
  EXPECT_STREQ(row(3).description.data(), "");
  for (size_t i = 0; i < 16; ++i) EXPECT_EQ(listed_devices()[i].vendor, 0);
}

TEST_F(ConfigFile, WhatIsBlankOrIncompleteCountsForNothing) {
  ASSERT_TRUE(read("   \t \nLogFile\nPIDFile =\n<VPD>\n \t\na7b7 0500 x\na7b7\n</VPD>\n  \t"));
  EXPECT_EQ(rows(), 1U);
  EXPECT_STREQ(logfile, "");
}

TEST_F(ConfigFile, EveryCallAppendsUntilTheTableIsFull) {
  ASSERT_TRUE(read("<VPD>\na7b7 0500 x\n</VPD>\n"));
  ASSERT_TRUE(read("<VPD>\na7b7 0500 x\n</VPD>\n"));
  EXPECT_EQ(rows(), 2U);

  std::string many = "<VPD>\n";
  for (int i = 0; i < 83; ++i) many += "a7b7 1234 y\n";
  // Behind the last row that fits nothing is looked at any more, not even a fault.
  ASSERT_TRUE(read(many + "</VPD>\nLogFile=/late\nNonsense\n"));
  EXPECT_EQ(listed_devices().size(), 99U);
  EXPECT_STREQ(logfile, "");
}

TEST_F(ConfigFile, LongLinesStayWithinTheirBuffers) {
  const std::string path(300, 'p');
  // 119 characters make a line: the rest of the value is a line of its own, and no key.
  EXPECT_EXIT(read("LogFile=" + path + "\n"), ::testing::ExitedWithCode(1), "");
  ASSERT_TRUE(read("LogFile=" + path.substr(0, 110) + "\n"));
  EXPECT_EQ(std::string(logfile), path.substr(0, 110));
}

TEST_F(ConfigFile, AMissingFileIsSaidByName) {
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(read_config_file());
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), path_ + " file not found. Exiting\n");
}

TEST_F(ConfigFile, AnUnknownKeyEndsTheProcess) {
  write("Colour=blue\n");
  // The line goes to standard output, which a death test does not see.
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        read_config_file();
      },
      ::testing::ExitedWithCode(1), in_quotes("Colour"));
}

TEST(ConfigFilePath, IsTheSystemsUnlessTheEnvironmentNamesOne) {
  unsetenv("KXUSB_CONF");
  EXPECT_STREQ(config_file_path(), "/etc/kxusb.conf");
  setenv("KXUSB_CONF", "", 1);
  EXPECT_STREQ(config_file_path(), "/etc/kxusb.conf");
}

}  // namespace
}  // namespace kxcam
