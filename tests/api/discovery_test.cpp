// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstring>

#include "camera_bus.h"

namespace kxcam::test {
namespace {

class Discovery : public CameraBus {
 protected:
  struct Identity {
    std::string serial;
    std::string name;
    bool operator==(const Identity&) const = default;
  };

  static Identity identity(int camera) {
    std::array<char, 16> serial{};
    std::array<char, 64> name{};
    EXPECT_EQ(CameraGetName(camera, serial.data(), name.data()), 0U);
    return {serial.data(), name.data()};
  }
  static int count() {
    int cameras = -1;
    EXPECT_EQ(CameraGetCount(&cameras), 0U);
    return cameras;
  }
  /// Row of the model table and product id; -1 each on failure.
  static std::pair<int, int> model(int camera) {
    std::pair found(-1, -1);
    CameraGetID(camera, &found.first, &found.second);
    return found;
  }
};

TEST_F(Discovery, TellsCamerasApartByPosition) {
  plug("3500,serial=AAAABBBB0001");
  plug("303B,serial=AAAABBBB0002,name=Line");
  EXPECT_EQ(count(), 2);
  // Once libusb runs, it lists what was plugged in last first.
  const int first = identity(0).serial == "AAAABBBB0001" ? 0 : 1;
  EXPECT_EQ(identity(first), (Identity{"AAAABBBB0001", "Model 5MP-C(" + std::to_string(first) + ")"}));
  EXPECT_EQ(identity(1 - first).serial, "AAAABBBB0002");
  EXPECT_EQ(model(1 - first), std::pair(20, 0x303B));
  EXPECT_EQ(CameraGetName(2, nullptr, nullptr), 1U);
  EXPECT_EQ(bus_.open_nodes(), 0U);
}

TEST_F(Discovery, NamesAreUpToThirtyCharacters) {
  const auto camera = plug("3600,name=Conveyor left");
  EXPECT_EQ(identity(0).name, "Conveyor left(0)");
  const std::string longest = "thirty characters, not one more";
  program(*camera, 0x1D51, std::span(reinterpret_cast<const uint8_t*>(longest.data()), 30));
  for (const auto& [length, shown] :
       {std::pair(30, longest.substr(0, 30)), {31, "Model 0.3MP-C"}, {0, "Model 0.3MP-C"}}) {
    camera->set_eeprom(0x1D50, static_cast<uint8_t>(length));
    EXPECT_EQ(identity(0).name, shown + "(0)");
  }
}

TEST_F(Discovery, AsksAHiddenModelForItsProductId) {
  const auto hidden = plug("3600,generic");
  plug("303B");
  EXPECT_TRUE(model(0).second == 0x3600 || model(1).second == 0x3600);
  // One that does not answer is counted but has no name, and its successor moves up.
  fail_requests(*hidden, 0xA9);
  EXPECT_EQ(count(), 2);
  EXPECT_EQ(model(0).second, 0x303B);
  EXPECT_EQ(model(1).second, -1);
}

TEST_F(Discovery, AnUnknownModelHasNoNameAndCannotBeOpened) {
  const auto camera = plug("3600,generic");
  camera->inject({.requests = {{.action = Fault::kReply, .code = 0xA9, .reply = {0x34, 0x12}}}});
  EXPECT_EQ(model(0), std::pair(82, 0x1234));
  EXPECT_EQ(identity(0).name, "");
  EXPECT_EQ(code_of(CameraInit, 0), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(Discovery, IdentityThatCannotBeReadIsZero) {
  const auto camera = plug("3600,serial=AAAABBBB0001");
  // Each byte is asked for twice, so only a fault that lasts is one: the second byte is lost.
  fail_request(*camera, kEepromRead, 3);
  std::array<char, 16> serial;
  serial.fill('x');
  ASSERT_EQ(CameraGetName(0, serial.data(), nullptr), 0U);
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(std::memcmp(serial.data(), "AA\0ABBBB0001\0\0\0", 16), 0) << serial.data();
}

TEST_F(Discovery, SaysWhyThereIsNoCamera) {
  EXPECT_EQ(code(), KXCAM_ERROR_NONE_YET);
  EXPECT_EQ(code_of(CameraGetName, 256, nullptr, nullptr), KXCAM_ERROR_INDEX);
  EXPECT_EQ(code_of(CameraInit, 0), KXCAM_ERROR_EMPTY_BUS);
  EXPECT_EQ(code_of(CameraInit, -1), KXCAM_ERROR_INDEX);

  const auto camera = plug("3600");
  camera->inject({.open_denied = true});
  EXPECT_EQ(count(), 0);
  camera->clear_faults();
  EXPECT_EQ(code_of(CameraInit, 1), KXCAM_ERROR_NONE_YET) << "none there: no code of its own";
  setenv("KXUSB_CONF", "/nonexistent/kxusb.conf", 1);
  EXPECT_EQ(count(), 0);
  EXPECT_EQ(code_of(CameraGetName, 0, nullptr, nullptr), KXCAM_ERROR_NONE_YET) << "nor has a missing file";
}

}  // namespace
}  // namespace kxcam::test
