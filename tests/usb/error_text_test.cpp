// SPDX-License-Identifier: Apache-2.0
#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "usb/kxusb.h"

namespace kxcam {
namespace {

std::string text_of(int code) {
  ::testing::internal::CaptureStderr();
  kxusb_error(code);
  return ::testing::internal::GetCapturedStderr();
}

TEST(ErrorText, EveryCodeHasItsLine) {
  EXPECT_EQ(text_of(LIBUSB_ERROR_IO), "Input/output error\n");
  EXPECT_EQ(text_of(LIBUSB_ERROR_NO_DEVICE), "No such device. Disconnected...?\n");
  EXPECT_EQ(text_of(LIBUSB_ERROR_INTERRUPTED), "System call interrupted, ( due to signal ? )\n");
  EXPECT_EQ(text_of(LIBUSB_ERROR_NO_MEM), "Insufficient memory\n");
  EXPECT_EQ(text_of(12), "Operation not supported/implemented\n");
  for (const int code : {LIBUSB_ERROR_NOT_SUPPORTED + 0, LIBUSB_ERROR_OTHER + 0, 0, 1, INT_MIN}) {
    EXPECT_EQ(text_of(code), "Unknown internal error\n") << code;
  }
}

}  // namespace
}  // namespace kxcam
