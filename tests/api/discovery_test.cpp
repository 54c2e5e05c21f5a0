// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstring>

#include "camera_bus.h"

namespace kxcam {
namespace {

using Discovery = CameraBus;

struct Identity {
  std::array<char, 16> serial{};
  std::array<char, 64> name{};
};

Identity identity(int camera) {
  Identity found;
  EXPECT_EQ(CameraGetName(camera, found.serial.data(), found.name.data()), 0U);
  return found;
}

TEST_F(Discovery, TellsCamerasApartByPosition) {
  plug("3500,serial=AAAABBBB0001");
  plug("303B,serial=AAAABBBB0002,name=Conveyor left");
  int count = 0;
  ASSERT_EQ(CameraGetCount(&count), 0U);
  EXPECT_EQ(count, 2);
  EXPECT_STREQ(identity(0).serial.data(), "AAAABBBB0001");
  EXPECT_STREQ(identity(0).name.data(), "Model 5MP-C(0)");
  EXPECT_STREQ(identity(1).serial.data(), "AAAABBBB0002");
  EXPECT_STREQ(identity(1).name.data(), "Conveyor left(1)");
  int row = 0;
  int product = 0;
  ASSERT_EQ(CameraGetID(1, &row, &product), 0U);
  EXPECT_EQ(row, 20);
  EXPECT_EQ(product, 0x303B);
  EXPECT_EQ(CameraGetName(2, nullptr, nullptr), 1U);
  EXPECT_EQ(bus_.open_nodes(), 0U);
  EXPECT_GE(bus_.nodes_opened(), 8U);
}

TEST_F(Discovery, AsksAHiddenModelForItsProductId) {
  const auto hidden = plug("3600,generic");
  plug("303B");
  int product = 0;
  ASSERT_EQ(CameraGetID(0, nullptr, &product), 0U);
  EXPECT_EQ(product, 0x3600);

  // One that does not answer is counted but has no name, and its successor moves up.
  hidden->inject({.requests = {{.action = kxsim::RequestFault::Action::kStall, .code = 0xA9}}});
  int count = 0;
  CameraGetCount(&count);
  EXPECT_EQ(count, 2);
  ASSERT_EQ(CameraGetID(0, nullptr, &product), 0U);
  EXPECT_EQ(product, 0x303B);
  EXPECT_EQ(CameraGetID(1, nullptr, &product), 1U);
}

TEST_F(Discovery, AnUnknownModelHasNoNameAndCannotBeOpened) {
  const auto camera = plug("3600,generic");
  camera->inject(
      {.requests = {{.action = kxsim::RequestFault::Action::kReply, .code = 0xA9, .reply = {0x34, 0x12}}}});
  int row = 0;
  ASSERT_EQ(CameraGetID(0, &row, nullptr), 0U);
  EXPECT_EQ(row, 82);
  EXPECT_STREQ(identity(0).name.data(), "");
  EXPECT_EQ(CameraInit(0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_NO_DEVICE);
}

TEST_F(Discovery, IdentityThatCannotBeReadIsZero) {
  const auto camera = plug("3600,serial=AAAABBBB0001");
  camera->inject(
      {.requests = {{.action = kxsim::RequestFault::Action::kStall, .which = {3, 4}, .code = 0xB0}}});
  std::array<char, 16> serial;
  serial.fill('x');
  // Each byte is asked for twice, so only a fault that lasts is one: the second byte is lost.
  ASSERT_EQ(CameraGetName(0, serial.data(), nullptr), 0U);
  EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
  EXPECT_EQ(std::memcmp(serial.data(), "AA\0ABBBB0001\0\0\0", 16), 0) << serial.data();
}

TEST_F(Discovery, SaysWhyThereIsNoCamera) {
  EXPECT_EQ(code(), KXCAM_ERROR_NONE_YET);
  EXPECT_EQ(CameraGetName(256, nullptr, nullptr), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_INDEX);
  EXPECT_EQ(CameraInit(0), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_EMPTY_BUS);
  EXPECT_EQ(CameraInit(-1), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_INDEX);

  const auto camera = plug("3600");
  camera->inject({.open_denied = true});
  int count = 7;
  EXPECT_EQ(CameraGetCount(&count), 0U);
  EXPECT_EQ(count, 0);
  camera->clear_faults();
  setenv("KXUSB_CONF", "/nonexistent/kxusb.conf", 1);
  EXPECT_EQ(CameraGetCount(&count), 0U);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(CameraGetName(0, nullptr, nullptr), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_INDEX) << "neither failure has a code of its own";
}

}  // namespace
}  // namespace kxcam
