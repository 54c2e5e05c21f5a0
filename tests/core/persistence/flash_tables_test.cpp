// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/flash_tables.h"

#include "camera_bus.h"
#include "core/picture/correction_settings.h"
#include "core/registry/contexts.h"

namespace kxcam::test {
namespace {

class FlashTables : public CameraBus {
 protected:
  static std::vector<uint8_t> flash(const Camera& camera, size_t page, size_t bytes) {
    return camera.inspect([&](const kxsim::Bridge& bridge) { return bridge.flash().read(page, bytes); });
  }

  static bool fixed_pattern_on() {
    bool on = false;
    EXPECT_EQ(CameraGetFPN(0, &on), 0U);
    return on;
  }

  static std::vector<double> ramp(size_t entries, double first, double step) {
    std::vector<double> table(entries);
    for (size_t i = 0; i < entries; ++i) table[i] = first + step * static_cast<double>(i);
    return table;
  }
};

TEST_F(FlashTables, AreSignedTenThousandthsInLittleEndian) {
  const auto camera = plug("3600");
  ASSERT_EQ(CameraInit(0), 0U);
  std::vector<double> even(720, 0.0);
  std::vector<double> odd(720, 0.0);
  std::vector<double> rows(540, 0.0);
  even[0] = 0.01239;
  even[1] = -0.01239;
  even[719] = 4.0;
  odd[0] = 0.0256;
  rows[0] = -0.0001;
  rows[539] = -4.0;
  ASSERT_TRUE(set_fpn_data(0, even.data(), odd.data(), rows.data(), 720, 540));
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(camera->requests(0xC4).size(), 1U);
  EXPECT_EQ(flash(*camera, 0x400, 4), (std::vector<uint8_t>{123, 0, 0x85, 0xFF}));
  const auto even_bytes = flash(*camera, 0x400, 1442);
  EXPECT_EQ(std::vector(even_bytes.end() - 4, even_bytes.end()),
            (std::vector<uint8_t>{0xFF, 0x7F, 0xFF, 0xFF}));
  EXPECT_EQ(flash(*camera, 0x440, 2), (std::vector<uint8_t>{0x00, 0x01}));
  const auto row_bytes = flash(*camera, 0x480, 1082);
  EXPECT_EQ(row_bytes[0], 0xFF);
  EXPECT_EQ(std::vector(row_bytes.end() - 4, row_bytes.end()),
            (std::vector<uint8_t>{0x00, 0x80, 0xFF, 0xFF}));
  CameraFree(0);

  ASSERT_EQ(CameraInit(0), 0U);
  const auto field = context_at(0)->picture.flat_field.load();
  EXPECT_DOUBLE_EQ(field->column_table_a()[0], 0.0123);
  EXPECT_DOUBLE_EQ(field->column_table_a()[1], -0.0123);
  EXPECT_DOUBLE_EQ(field->column_table_b()[0], 0.0256);
  EXPECT_DOUBLE_EQ(field->row_table()[0], -0.0001);
  EXPECT_DOUBLE_EQ(field->row_table()[539], -3.2768);
  EXPECT_TRUE(fixed_pattern_on());
}

TEST_F(FlashTables, LongOnesRepeatTheirFirstBlock) {
  const auto camera = plug("3A00");  // 3664 x 2748
  ASSERT_EQ(CameraInit(0), 0U);
  const auto columns = ramp(3664, 0.0001, 0.0001);
  const auto rows = ramp(2748, 0.0002, 0.0001);
  ASSERT_TRUE(set_fpn_data(0, columns.data(), columns.data(), rows.data(), 3664, 2748));
  camera->clear_requests();
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  std::vector<std::pair<int, int>> blocks;
  for (const auto& request : camera->requests(0xC2)) blocks.emplace_back(request.index, request.length);
  EXPECT_EQ(blocks,
            (std::vector<std::pair<int, int>>{
                {0x400, 4096}, {0x410, 3232}, {0x440, 4096}, {0x450, 3232}, {0x480, 4096}, {0x490, 1400}}));
  EXPECT_EQ(CameraLoadParameter(0, 0), 0U);
  const auto field = context_at(0)->picture.flat_field.load();
  ASSERT_EQ(field->column_table_a().size(), 3664U);
  EXPECT_NEAR(field->column_table_a()[2047], 0.2048, 1.1e-4);
  EXPECT_EQ(field->column_table_a()[2048], field->column_table_a()[0]);
  EXPECT_EQ(field->row_table()[2747], field->row_table()[699]);
}

TEST_F(FlashTables, AreLeftAloneByBridgesThatCannotKeepThem) {
  const auto camera = plug("3600,fw=0x830F");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_FALSE(fixed_pattern_on()) << "whatever was stored";
  EXPECT_TRUE(camera->requests(0xC3).empty());
  CameraSetFPN(0, true);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_FALSE(fixed_pattern_on());
  EXPECT_EQ(camera->eeprom(kSet0 + 0x08) & 0x08, 0) << "the stored switch is the one before";
  EXPECT_TRUE(camera->requests(0xC4).empty());
  CameraFree(0);
  bus_.unplug(*camera);

  const auto exception = plug("3A3B,fw=0x8300");
  ASSERT_EQ(CameraInit(0), 0U);
  EXPECT_TRUE(fixed_pattern_on());
  EXPECT_EQ(exception->requests(0xC3).size(), 3U);
  CameraSetFPN(0, false);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_TRUE(exception->requests(0xC2).empty()) << "only while the correction is on";
}

TEST_F(FlashTables, ACameraOpenedWithoutTablesKeepsThoseInItsFlash) {
  const auto camera = open_registers("3A3B");
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  CameraLoadParameter(0, 0);
  EXPECT_TRUE(camera->requests(0xC4).empty());
  EXPECT_TRUE(camera->requests(0xC3).empty());
}

TEST_F(FlashTables, AnUnreadableTableIsNoCorrection) {
  const auto camera = plug("3600");
  ASSERT_EQ(CameraInit(0), 0U);
  const auto ones = ramp(720, 0.5, 0);
  ASSERT_TRUE(set_fpn_data(0, ones.data(), ones.data(), ones.data(), 720, 540));
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  camera->inject({.requests = {{.action = Fault::kStall, .which = {1, 2}, .code = 0xC3},
                               {.action = Fault::kShort, .which = {3, 3}, .code = 0xC3, .length = 101}}});
  EXPECT_EQ(CameraLoadParameter(0, 0), 0U) << "and no failure";
  const auto field = context_at(0)->picture.flat_field.load();
  EXPECT_EQ(field->column_table_a()[0], 0.0);
  EXPECT_DOUBLE_EQ(field->column_table_b()[49], 0.5);
  EXPECT_DOUBLE_EQ(field->row_table()[539], 0.5);
}

TEST_F(FlashTables, TheTableOfTwelveBitSamples) {
  const auto camera = plug("369B");
  ASSERT_EQ(CameraInit(0), 0U);
  std::vector<uint8_t> lut(4096);
  for (size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<uint8_t>(i * 7);
  CameraSetLUT(0, lut.data(), 4096);
  camera->clear_requests();
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  const auto prepared = camera->requests(0xC4);
  ASSERT_EQ(prepared.size(), 2U);
  EXPECT_EQ(std::pair(prepared[1].index, prepared[1].value), (std::pair<uint16_t, uint16_t>(6, 1)));
  EXPECT_EQ(flash(*camera, 0x600, 4096), lut);
  CameraFree(0);

  ASSERT_EQ(CameraInit(0), 0U);
  std::vector<uint8_t> loaded(4096);
  int length = 4096;
  EXPECT_EQ(CameraGetLUT(0, loaded.data(), &length), 0U);
  EXPECT_EQ(loaded, lut);
}

}  // namespace
}  // namespace kxcam::test
