// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/dead_pixel_store.h"

#include <array>

#include <gmock/gmock.h>

#include "camera_bus.h"
#include "core/registry/contexts.h"

namespace kxcam::test {
namespace {

using testing::ElementsAre;
using FaultAction = kxsim::RequestFault::Action;

constexpr uint16_t kBlock = 0x1E00;
constexpr uint8_t kEepromRead = 0xB0;
constexpr uint8_t kEepromWrite = 0xB1;
constexpr size_t kListLength = 127;

class DeadPixelStore : public CameraBus {
 protected:
  std::shared_ptr<kxsim::SimulatedCamera> open_io() {
    auto camera = plug("3600");
    EXPECT_EQ(CameraInitIO(0), 0U);
    return camera;
  }

  static std::vector<DeadPixel> in_force() {
    const auto list = context_at(0)->picture.dead_pixels.load();
    return {list->listed().begin(), list->listed().end()};
  }

  static std::vector<int> stored(const kxsim::SimulatedCamera& camera, int bytes) {
    std::vector<int> block(static_cast<size_t>(bytes));
    uint16_t address = kBlock;
    for (int& byte : block) byte = camera.eeprom(address++);
    return block;
  }

  /// The n-th request of that code from now on fails, with its repetition.
  static void fail_request(kxsim::SimulatedCamera& camera, uint8_t code, uint64_t n) {
    camera.inject({.requests = {{.action = FaultAction::kStall, .which = {n, n + 1}, .code = code}}});
  }
};

TEST_F(DeadPixelStore, KeepsAListInBigEndianWords) {
  const auto camera = open_io();
  constexpr std::array<uint32_t, 5> kList = {2, 0x0102, 3, 0x10203, 719};
  ASSERT_TRUE(save_deadpixel(0, kList.data()));
  EXPECT_THAT(stored(*camera, 11), ElementsAre(0, 2, 1, 2, 0, 3, 2, 3, 2, 0xCF, 0xFF));
  EXPECT_THAT(in_force(), ElementsAre(DeadPixel{0x0102, 3}, DeadPixel{0x0203, 719}));

  CameraFree(0);
  ASSERT_EQ(CameraInitIO(0), 0U);
  EXPECT_TRUE(in_force().empty());
  std::array<uint32_t, kListLength> list{};
  ASSERT_TRUE(load_deadpixel(0, list.data()));
  EXPECT_THAT(std::vector(list.begin(), list.begin() + 6), ElementsAre(2, 0x0102, 3, 0x0203, 719, 0));
  EXPECT_THAT(in_force(), ElementsAre(DeadPixel{0x0102, 3}, DeadPixel{0x0203, 719}));
}

TEST_F(DeadPixelStore, HoldsSixtyThreePixelsBelowTheParameterSets) {
  const auto camera = open_io();
  camera->set_eeprom(0x1EFE, 0x77);
  std::array<uint32_t, kListLength + 1> list{};
  for (size_t i = 1; i < list.size(); ++i) list[i] = static_cast<uint32_t>(i);
  list[0] = 64;
  camera->clear_requests();
  EXPECT_FALSE(save_deadpixel(0, list.data()));
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
  EXPECT_TRUE(camera->requests().empty()) << "nothing is written of a list that is too long";
  list[0] = 63;
  ASSERT_TRUE(save_deadpixel(0, list.data()));
  EXPECT_EQ(camera->eeprom(0x1EFD), 126);
  EXPECT_EQ(camera->eeprom(0x1EFE), 0x77);
  EXPECT_EQ(in_force().size(), 63U);
  ASSERT_TRUE(load_deadpixel(0, nullptr));
  EXPECT_EQ(in_force().back(), (DeadPixel{125, 126}));
}

TEST_F(DeadPixelStore, LoadsAnImpossibleCountAsAnEmptyList) {
  const auto camera = open_io();
  constexpr std::array<uint32_t, 3> kList = {1, 5, 6};
  for (const auto& [high, low] : {std::pair{0xFF, 0xFF}, {0, 64}, {0, 255}, {1, 0}}) {
    ASSERT_TRUE(save_deadpixel(0, kList.data()));
    camera->set_eeprom(kBlock, static_cast<uint8_t>(high));
    camera->set_eeprom(kBlock + 1, static_cast<uint8_t>(low));
    uint32_t untouched = 7;
    EXPECT_TRUE(load_deadpixel(0, &untouched));
    EXPECT_EQ(untouched, 7U);
    EXPECT_TRUE(in_force().empty()) << high << ", " << low;
  }
}

TEST_F(DeadPixelStore, StopsAtAByteThatIsNotWritten) {
  constexpr std::array<uint32_t, 3> kOld = {1, 5, 6};
  constexpr std::array<uint32_t, 5> kNew = {2, 7, 8, 9, 10};
  const auto camera = open_io();
  for (uint64_t byte = 1; byte <= 9; ++byte) {
    ASSERT_TRUE(save_deadpixel(0, kOld.data()));
    fail_request(*camera, kEepromWrite, byte);
    camera->clear_requests();
    EXPECT_FALSE(save_deadpixel(0, kNew.data())) << byte;
    EXPECT_EQ(code(), KXCAM_ERROR_WRITE_REQUEST);
    EXPECT_THAT(in_force(), ElementsAre(DeadPixel{5, 6}));
    // A low byte that fails is noticed with the next one; a repetition belongs to every failure.
    EXPECT_EQ(camera->requests(kEepromWrite).size(), byte + (byte % 2 == 0 ? 2 : 1));
    camera->clear_faults();
  }
  fail_request(*camera, kEepromWrite, 10);
  EXPECT_TRUE(save_deadpixel(0, kNew.data())) << "only the very last byte goes unreported";
}

TEST_F(DeadPixelStore, LoadsWhatItCanRead) {
  constexpr std::array<uint32_t, 5> kList = {2, 7, 8, 9, 10};
  const auto camera = open_io();
  ASSERT_TRUE(save_deadpixel(0, kList.data()));
  for (uint64_t byte = 1; byte <= 10; ++byte) {
    fail_request(*camera, kEepromRead, byte);
    std::array<uint32_t, kListLength> list{};
    list[0] = 77;
    EXPECT_FALSE(load_deadpixel(0, list.data()));
    EXPECT_EQ(code(), KXCAM_ERROR_READ_REQUEST);
    camera->clear_faults();
    if (byte <= 2) {
      EXPECT_EQ(list[0], 77U);
      EXPECT_EQ(in_force().size(), 2U) << "without a count the list in force stays";
    } else if (byte <= 6) {
      EXPECT_THAT(in_force(), ElementsAre(DeadPixel{0, 0}, DeadPixel{9, 10}));
    } else {
      EXPECT_THAT(std::vector(list.begin(), list.begin() + 5), ElementsAre(2, 7, 8, 0, 0));
    }
    ASSERT_TRUE(load_deadpixel(0, nullptr));
  }
}

TEST_F(DeadPixelStore, NeedsACameraWithADevice) {
  constexpr std::array<uint32_t, 1> kEmpty = {0};
  constexpr std::array<uint32_t, 1> kTooLong = {64};
  const auto codes = [&](int camera, const uint32_t* list) {
    EXPECT_FALSE(save_deadpixel(camera, list));
    const int saving = code();
    EXPECT_FALSE(load_deadpixel(camera, nullptr));
    return std::pair(saving, code());
  };
  EXPECT_EQ(codes(256, kTooLong.data()), std::pair(KXCAM_ERROR_INDEX + 0, KXCAM_ERROR_INDEX + 0));
  EXPECT_EQ(codes(0, kTooLong.data()), std::pair(KXCAM_ERROR_ARGUMENT + 0, KXCAM_ERROR_NOT_OPEN + 0));
  EXPECT_EQ(codes(0, kEmpty.data()), std::pair(KXCAM_ERROR_NOT_OPEN + 0, KXCAM_ERROR_NOT_OPEN + 0));
  ASSERT_TRUE(occupy_slot(0, std::make_shared<CameraContext>(0)));
  EXPECT_EQ(codes(0, kEmpty.data()), std::pair(KXCAM_ERROR_NO_DEVICE + 0, KXCAM_ERROR_NO_DEVICE + 0));
  vacate_slot(0);
}

}  // namespace
}  // namespace kxcam::test
