// SPDX-License-Identifier: Apache-2.0

#include "core/persistence/identity.h"

#include <cstring>
#include <numeric>
#include <string>

#include "camera_bus.h"
#include "core/persistence/flash_tables.h"
#include "core/persistence/properties.h"

namespace kxcam::test {
namespace {

using Identity = CameraBus;

TEST_F(Identity, TheSerialNumberIsCachedAtOpen) {
  const auto camera = open_registers("3600,serial=ABCDEFGHIJKL");
  std::array<char, 14> text;
  text.fill('x');
  EXPECT_FALSE(ok(CameraReadSerialNumber(0, text.data(), 11)));
  EXPECT_TRUE(ok(CameraReadSerialNumber(0, text.data(), 12)));
  EXPECT_EQ(std::memcmp(text.data(), "ABCDEFGHIJKLxx", 14), 0) << "exactly 12 bytes are touched";
  EXPECT_TRUE(ok(CameraReadSerialNumber(0, text.data(), 13)));
  EXPECT_EQ(std::memcmp(text.data(), "ABCDEFGHIJKL\0x", 14), 0);
  EXPECT_TRUE(camera->requests().empty());

  EXPECT_FALSE(writer_serialnumber(0, "MNOPQRSTUVWX", 13));
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  EXPECT_TRUE(writer_serialnumber(0, "MNOPQRSTUVWX", 12));
  EXPECT_TRUE(ok(CameraReadSerialNumber(0, text.data(), 13)));
  EXPECT_STREQ(text.data(), "ABCDEFGHIJKL");
  EXPECT_TRUE(read_serialnumber(0, text.data(), 13));
  EXPECT_STREQ(text.data(), "MNOPQRSTUVWX");
}

TEST_F(Identity, SerialNumberFailures) {
  const auto camera = open_registers("3600,serial=ABCDEFGHIJKL");
  std::array<char, 16> text;
  text.fill('x');
  fail_request(*camera, kEepromRead, 4);
  EXPECT_FALSE(read_serialnumber(0, text.data(), 16));
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(std::memcmp(text.data(), "ABC\0xx", 6), 0);
  EXPECT_FALSE(read_serialnumber(0, text.data(), 11));
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  EXPECT_FALSE(read_serialnumber(1, text.data(), 11));
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT) << "before the slot";
  EXPECT_FALSE(ok(CameraReadSerialNumber(1, text.data(), 12)));
  EXPECT_EQ(code(), KXCAM_ERROR_NOT_OPEN);
  EXPECT_FALSE(ok(CameraReadSerialNumber(256, text.data(), 12)));
  EXPECT_EQ(code(), KXCAM_ERROR_INDEX);

  fail_request(*camera, kEepromWrite, 3);
  EXPECT_FALSE(writer_serialnumber(0, "mnopqrstuvwx", 12));
  EXPECT_EQ(code(), KXCAM_ERROR_WRITE_REQUEST);
  EXPECT_EQ(cells(*camera, 0x1D00, 4), (std::vector<uint8_t>{'m', 'n', 'C', 'D'}));
}

TEST_F(Identity, TheExportNeedsRoomBeforeAnythingElse) {
  open_registers("3600,serial=ABCDEFGHIJKL");
  std::array<char, 12> text{};
  last_error = KXCAM_ERROR_NONE_YET;
  EXPECT_EQ(CameraReadSerialNumber(0, text.data(), 11), 1U);
  EXPECT_EQ(CameraReadSerialNumber(0, nullptr, 12), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NONE_YET);
  EXPECT_EQ(CameraReadSerialNumber(0, text.data(), 12), 0U);
  EXPECT_EQ(std::memcmp(text.data(), "ABCDEFGHIJKL", 12), 0);
}

TEST_F(Identity, UserDataGoesToItsCells) {
  const auto camera = open_registers("3600,blank");
  std::array<char, 64> data;
  std::iota(data.begin(), data.end(), '\x60');
  EXPECT_EQ(CameraWriteUserData(0, data.data(), 64), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(CameraWriteUserData(0, data.data(), 0), 0U);
  EXPECT_EQ(CameraReadUserData(7, data.data(), -1), 0U) << "nothing to do needs no camera";
  EXPECT_TRUE(camera->requests().empty());

  EXPECT_EQ(CameraWriteUserData(0, data.data(), 63), 0U);
  EXPECT_EQ(camera->eeprom(0x1D6F), 0xFF);
  EXPECT_EQ(camera->eeprom(0x1D70), 0x60);
  EXPECT_EQ(camera->eeprom(0x1DAE), 0x60 + 62);
  EXPECT_EQ(camera->eeprom(0x1DAF), 0xFF);
  std::array<char, 64> read{};
  EXPECT_EQ(CameraReadUserData(0, read.data(), 63), 0U);
  EXPECT_EQ(std::memcmp(read.data(), data.data(), 63), 0);
  EXPECT_EQ(read[63], 0);

  read.fill(0);
  fail_request(*camera, kEepromRead, 3);
  EXPECT_EQ(CameraReadUserData(0, read.data(), 63), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(std::string(read.data()), "\x60\x61") << "those before it are transferred";
  EXPECT_EQ(CameraReadUserData(7, read.data(), 1), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NOT_OPEN);
}

TEST_F(Identity, ErasingTheFirmwareIsOneRequest) {
  const auto camera = open_registers("3600");
  EXPECT_TRUE(erase_firmware(0));
  const auto requests = camera->requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0],
            (kxsim::LoggedRequest{.code = 0xC2, .value = 1, .index = 0, .length = 1, .data = {0}}));
  EXPECT_TRUE(camera->inspect([](const kxsim::Bridge& bridge) { return bridge.firmware_erased(); }));
  EXPECT_FALSE(erase_firmware(1));
  EXPECT_EQ(code(), KXCAM_ERROR_NOT_OPEN);
  fail_request(*camera, 0xC2, 1);
  EXPECT_FALSE(erase_firmware(0));
  EXPECT_EQ(code(), KXCAM_ERROR_WRITE_REQUEST);
}

TEST_F(Identity, PropertiesAreKeptAtTheWidthOfTheirFields) {
  const auto camera = open_registers("3600");
  int value = 0;
  for (const char* key : {"image_format", "resolution_index", "enable_roi"}) {
    EXPECT_TRUE(set_property(0, key, 0x1234 + 0x100)) << key;
    EXPECT_TRUE(get_property(0, key, &value));
    EXPECT_EQ(value, 0x34) << key;
  }
  int n = 0;
  for (const char* key : {"roi_offset_x", "roi_offset_y", "roi_width", "roi_height"}) {
    EXPECT_TRUE(set_property(0, key, 70000 + n)) << key;
    ++n;
  }
  n = 0;
  for (const char* key : {"roi_offset_x", "roi_offset_y", "roi_width", "roi_height"}) {
    EXPECT_TRUE(get_property(0, key, &value));
    EXPECT_EQ(value, 4464 + n++) << key;
  }
  EXPECT_TRUE(camera->requests().empty());
  last_error = KXCAM_ERROR_NONE_YET;
  for (const char* key : {"", "roi", "roi_width ", "Roi_width", "gain"}) {
    EXPECT_FALSE(set_property(0, key, 1)) << key;
    EXPECT_FALSE(get_property(0, key, &value)) << key;
  }
  EXPECT_EQ(code(), KXCAM_ERROR_NONE_YET);
  EXPECT_FALSE(get_property(1, "roi_width", &value));
  EXPECT_EQ(code(), KXCAM_ERROR_NOT_OPEN);
}

}  // namespace
}  // namespace kxcam::test
