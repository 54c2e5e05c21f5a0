// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "camera_bus.h"
#include "core/persistence/stored_tables.h"
#include "core/registry/contexts.h"

namespace kxcam::test {
namespace {

using testing::ElementsAre;
using Words = std::vector<uint32_t>;

class DeadPixelStore : public CameraBus {
 protected:
  static std::vector<DeadPixel> in_force() {
    const auto list = context_at(0)->picture.dead_pixels.load();
    return {list->listed().begin(), list->listed().end()};
  }
  static bool save(const Words& list) { return save_deadpixel(*context_at(0), list.data()); }
  static bool load(Words& list) {
    list.assign(127, 77);
    return load_deadpixel(*context_at(0), list.data());
  }
};

TEST_F(DeadPixelStore, KeepsAListInBigEndianWords) {
  const auto camera = open_registers("3600");
  ASSERT_TRUE(save({2, 0x0102, 3, 0x10203, 719}));
  EXPECT_EQ(cells(*camera, kDeadPixelBlock, 11), (Bytes{0, 2, 1, 2, 0, 3, 2, 3, 2, 0xCF, 0xFF}));
  EXPECT_THAT(in_force(), ElementsAre(DeadPixel{0x0102, 3}, DeadPixel{0x0203, 719}));

  CameraFree(0);
  ASSERT_EQ(CameraInitIO(0), 0U);
  EXPECT_TRUE(in_force().empty());
  Words list;
  ASSERT_TRUE(load(list));
  EXPECT_EQ(Words(list.begin(), list.begin() + 6), (Words{2, 0x0102, 3, 0x0203, 719, 77}));
  EXPECT_THAT(in_force(), ElementsAre(DeadPixel{0x0102, 3}, DeadPixel{0x0203, 719}));
}

TEST_F(DeadPixelStore, HoldsSixtyThreePixelsBelowTheParameterSets) {
  const auto camera = open_registers("3600");
  camera->set_eeprom(0x1EFE, 0x77);
  Words list(129);
  for (size_t i = 1; i < list.size(); ++i) list[i] = static_cast<uint32_t>(i);
  list[0] = 64;
  EXPECT_EQ(code_of([&] { return save(list); }), KXCAM_ERROR_ARGUMENT);
  EXPECT_TRUE(camera->requests().empty()) << "nothing is written of a list that is too long";
  list[0] = 63;
  ASSERT_TRUE(save(list));
  EXPECT_EQ(cells(*camera, 0x1EFD, 2), (Bytes{126, 0x77}));
  ASSERT_TRUE(load_deadpixel(*context_at(0), nullptr));
  EXPECT_EQ(in_force().size(), 63U);
  EXPECT_EQ(in_force().back(), (DeadPixel{125, 126}));
}

TEST_F(DeadPixelStore, LoadsAnImpossibleCountAsAnEmptyList) {
  const auto camera = open_registers("3600");
  for (const Bytes& count : {Bytes{0xFF, 0xFF}, {0, 64}, {0, 255}, {1, 0}}) {
    ASSERT_TRUE(save({1, 5, 6}));
    program(*camera, kDeadPixelBlock, count);
    Words list;
    EXPECT_TRUE(load(list));
    EXPECT_EQ(list[0], 77U) << "untouched";
    EXPECT_TRUE(in_force().empty());
  }
}

TEST_F(DeadPixelStore, StopsAtAByteThatIsNotWritten) {
  const auto camera = open_registers("3600");
  for (uint64_t byte = 1; byte <= 10; ++byte) {
    ASSERT_TRUE(save({1, 5, 6}));
    fail_request(*camera, kEepromWrite, byte);
    camera->clear_requests();
    const bool last = byte == 10;  // only the very last byte goes unreported
    EXPECT_EQ(code_of([] { return save({2, 7, 8, 9, 10}); }), last ? 0 : KXCAM_ERROR_WRITE_REQUEST) << byte;
    EXPECT_EQ(in_force().front(), (last ? DeadPixel{7, 8} : DeadPixel{5, 6}));
    // A low byte that fails is noticed with the next one; a repetition belongs to every failure.
    EXPECT_EQ(camera->requests(kEepromWrite).size(), byte + (byte % 2 == 0 && !last ? 2 : 1));
    camera->clear_faults();
  }
}

TEST_F(DeadPixelStore, LoadsWhatItCanRead) {
  const auto camera = open_registers("3600");
  ASSERT_TRUE(save({2, 7, 8, 9, 10}));
  for (uint64_t byte = 1; byte <= 10; ++byte) {
    fail_request(*camera, kEepromRead, byte);
    Words list;
    EXPECT_EQ(code_of([&] { return load(list); }), KXCAM_ERROR_READ_REQUEST);
    camera->clear_faults();
    if (byte <= 2) {
      EXPECT_EQ(list[0], 77U);
      EXPECT_EQ(in_force().size(), 2U) << "without a count the list in force stays";
    } else if (byte <= 6) {
      EXPECT_THAT(in_force(), ElementsAre(DeadPixel{0, 0}, DeadPixel{9, 10}));
    } else {
      EXPECT_EQ(Words(list.begin(), list.begin() + 5), (Words{2, 7, 8, 0, 0}));
    }
    ASSERT_TRUE(load_deadpixel(*context_at(0), nullptr));
  }
}

}  // namespace
}  // namespace kxcam::test
