// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/identity.h"

#include <cstring>
#include <numeric>
#include <string>

#include "camera_bus.h"
#include "core/persistence/stored_tables.h"
#include "core/registry/contexts.h"

namespace kxcam::test {
namespace {

using Identity = CameraBus;

TEST_F(Identity, TheSerialNumberIsCachedAtOpen) {
  const auto camera = open_registers("3600,serial=ABCDEFGHIJKL");
  std::array<char, 14> text;
  text.fill('x');
  EXPECT_EQ(code_of(CameraReadSerialNumber, 0, text.data(), 11), KXCAM_ERROR_NONE_YET);
  EXPECT_EQ(code_of(CameraReadSerialNumber, 0, nullptr, 12), KXCAM_ERROR_NONE_YET);
  EXPECT_EQ(CameraReadSerialNumber(0, text.data(), 12), 0U);
  EXPECT_EQ(std::memcmp(text.data(), "ABCDEFGHIJKLxx", 14), 0) << "exactly 12 bytes are touched";
  EXPECT_EQ(CameraReadSerialNumber(0, text.data(), 13), 0U);
  EXPECT_EQ(std::memcmp(text.data(), "ABCDEFGHIJKL\0x", 14), 0);
  EXPECT_TRUE(camera->requests().empty());
}

TEST_F(Identity, UserDataGoesToItsCells) {
  const auto camera = open_registers("3600,blank");
  std::array<char, 64> data;
  std::iota(data.begin(), data.end(), '\x60');
  EXPECT_EQ(code_of(CameraWriteUserData, 0, data.data(), 64), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(CameraWriteUserData(0, data.data(), 0), 0U);
  EXPECT_EQ(CameraReadUserData(7, data.data(), -1), 0U) << "nothing to do needs no camera";
  EXPECT_TRUE(camera->requests().empty());

  EXPECT_EQ(CameraWriteUserData(0, data.data(), 63), 0U);
  Bytes expected(65, 0xFF);
  std::iota(expected.begin() + 1, expected.end() - 1, uint8_t{0x60});
  EXPECT_EQ(cells(*camera, 0x1D6F, 65), expected);
  std::array<char, 64> read{};
  EXPECT_EQ(CameraReadUserData(0, read.data(), 63), 0U);
  EXPECT_EQ(std::memcmp(read.data(), data.data(), 63), 0);
  EXPECT_EQ(read[63], 0);

  read.fill(0);
  fail_request(*camera, kEepromRead, 3);
  EXPECT_EQ(code_of(CameraReadUserData, 0, read.data(), 63), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(std::string(read.data()), "\x60\x61") << "those before it are transferred";
  fail_request(*camera, kEepromWrite, 1);
  EXPECT_EQ(code_of(CameraWriteUserData, 0, read.data(), 63), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(code_of(CameraReadUserData, 7, read.data(), 1), KXCAM_ERROR_NOT_OPEN);
}

TEST_F(Identity, ErasingTheFirmwareIsOneRequest) {
  const auto camera = open_registers("3600");
  EXPECT_TRUE(erase_firmware(*context_at(0)));
  EXPECT_EQ(requests(*camera), (std::vector<Request>{{0xC2, 0, 1}}));
  EXPECT_EQ(camera->requests().front().data, Bytes{0});
  fail_request(*camera, 0xC2, 1);
  EXPECT_EQ(code_of([] { return erase_firmware(*context_at(0)); }), KXCAM_ERROR_WRITE_REQUEST);
}

TEST_F(Identity, AnotherSerialNumberCountsFromTheNextOpenOn) {
  const auto camera = open_registers("3600,serial=ABCDEFGHIJKL");
  EXPECT_EQ(code_of([] { return writer_serialnumber(*context_at(0), "MNOPQRSTUVWX", 13); }),
            KXCAM_ERROR_ARGUMENT);
  EXPECT_TRUE(writer_serialnumber(*context_at(0), "MNOPQRSTUVWX", 12));
  std::array<char, 13> text{};
  EXPECT_EQ(CameraReadSerialNumber(0, text.data(), 13), 0U);
  EXPECT_STREQ(text.data(), "ABCDEFGHIJKL");
  EXPECT_TRUE(read_serialnumber(*context_at(0), text.data(), 13));
  EXPECT_STREQ(text.data(), "MNOPQRSTUVWX");
  fail_request(*camera, kEepromRead, 4);
  EXPECT_EQ(code_of([&] { return read_serialnumber(*context_at(0), text.data(), 13); }),
            KXCAM_ERROR_READ_REQUEST);
  EXPECT_STREQ(text.data(), "MNO");
}

}  // namespace
}  // namespace kxcam::test
