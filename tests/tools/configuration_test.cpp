// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <kxcam/kxcam.h>

#include "temporary_folder.h"

namespace kxcam {
namespace {

TEST(DeviceListOfAFile, ReadsRowsAmongKeysAndComments) {
  const DeviceList list = read_device_list(
      "# comment\nLogFile=/tmp/log\nPIDFile /tmp/pid\n \t\n<VPD>\n a7b7 3500 a word\n\n# none\n0xA7B7 3FF0\n"
      "a7b7\n</VPD>\n<VPD>\n046d c31c");
  EXPECT_EQ(list.bad_line, 0) << list.bad_word;
  EXPECT_EQ(list.devices.size(), 3U) << "a row without a product id names none";
  EXPECT_TRUE(list.contains(0xA7B7, 0x3500));
  EXPECT_TRUE(list.contains(0xA7B7, 0x3FF0));
  EXPECT_TRUE(list.contains(0x046D, 0xC31C)) << "the last line need not end";
  EXPECT_FALSE(list.contains(0xA7B7, 0));
}

TEST(DeviceListOfAFile, SaysWhichLineEndsTheProcess) {
  EXPECT_EQ(read_device_list("# fine\n\nVPD\n").bad_line, 3);
  EXPECT_EQ(read_device_list("# fine\n\nVPD\n").bad_word, "VPD");
  const std::string comment = "#" + std::string(118, '-');
  EXPECT_EQ(read_device_list(comment + "\n<VPD>\n</VPD>").bad_line, 0);
  EXPECT_EQ(read_device_list("\n" + comment + "too long\n<VPD>\n").bad_line, 2);
}

TEST(DeviceListOfAFile, HasRoomForEightyThreeRows) {
  std::string text = "<VPD>\n";
  for (int i = 0; i < 83; ++i) text += "a7b7 3500 camera\n";
  EXPECT_FALSE(read_device_list(text + "</VPD>\nNonsense\n").truncated);
  EXPECT_EQ(read_device_list(text + "</VPD>\nNonsense\n").bad_line, 0) << "nobody looks so far";
  const DeviceList list = read_device_list(text + "a7b7 3600 camera\n</VPD>\n");
  EXPECT_TRUE(list.truncated);
  EXPECT_EQ(list.devices.size(), 83U);
  EXPECT_FALSE(list.contains(0xA7B7, 0x3600));
}

/// Whether the library ends the process over the file.
bool ends_the_library(const std::string& text) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "kxusb.conf";
  std::ofstream(file) << text;
  bool ends = true;
  EXPECT_EXIT(
      {
        setenv("KXUSB_CONF", file.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): one thread
        int count = 0;
        CameraGetCount(&count);
        _exit(0);
      },
      [&](int status) {
        ends = WEXITSTATUS(status) != 0;
        return WIFEXITED(status);
      },
      "");
  return ends;
}

TEST(DeviceListOfAFile, IsJudgedAsTheLibraryDoes) {
  const std::string comment = "#" + std::string(118, '-');
  for (const std::string& text :
       {std::string("<VPD>\n</VPD>\n"), std::string("VPD\n"), comment + "\n", comment + "x\n",
        std::string("LogFile=a b\n \t\n"), std::string(" =\n</VPD>\n")}) {
    EXPECT_EQ(read_device_list(text).bad_line != 0, ends_the_library(text)) << text;
  }
}

}  // namespace
}  // namespace kxcam
