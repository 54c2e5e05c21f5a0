// SPDX-License-Identifier: Apache-2.0
#include "doctor/privacy.h"

#include <gtest/gtest.h>

namespace kxcam::doctor {
namespace {

TEST(Privacy, ReplacesWholeWordsOnly) {
  const std::vector<PrivateWord> words = {
      {"/home/usb", "HOME"}, {"usb", "USER"}, {"lab", "HOST"}, {"", "nothing"}, {"/", "slash"}};
  EXPECT_EQ(without(words, "usb: /home/usb/a.conf libusb usb3 /usb-lab/"),
            "USER: HOME/a.conf libusb usb3 /USER-HOST/");
  EXPECT_EQ(without({{"a", "b"}, {"aa", "aa"}}, "aa"), "aa") << "ends";
}

}  // namespace
}  // namespace kxcam::doctor
