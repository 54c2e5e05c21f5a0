// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"
#include "core/picture/picture_settings.h"
#include "core/registry/contexts.h"

// The tables that a camera keeps in its flash: the fixed pattern and the table of 12-bit samples.

namespace kxcam::test {
namespace {

using Table = std::vector<double>;

class FlashTables : public CameraBus {
 protected:
  static Bytes flash(const Camera& camera, size_t page, size_t bytes) {
    return camera.inspect([&](const kxsim::Bridge& bridge) { return bridge.flash().read(page, bytes); });
  }
  static std::shared_ptr<const FlatField> in_force() { return context_at(0)->picture.flat_field.load(); }

  static void measure(const Table& even, const Table& odd, const Table& rows) {
    EXPECT_TRUE(set_fpn_data(*context_at(0), even.data(), odd.data(), rows.data(),
                             static_cast<int>(even.size()), static_cast<int>(rows.size())));
  }

  /// `entries` ten-thousandths: first, first + 1 and so on.
  static Table ramp(size_t entries, int first) {
    Table table(entries);
    for (double& entry : table) entry = 0.0001 * first++;
    return table;
  }

  std::shared_ptr<Camera> init(const std::string& description) {
    auto camera = plug(description);
    camera->set_frame_source(kxsim::fill_numbered_frame);  // soon made
    EXPECT_EQ(CameraInit(0), 0U);
    return camera;
  }
};

TEST_F(FlashTables, AreSignedTenThousandthsInLittleEndian) {
  const auto camera = init("3600");
  Table even(720, 0.0);
  Table odd(720, 0.0);
  Table rows(540, 0.0);
  even[0] = 0.01239;
  even[1] = -0.01239;
  even[719] = 4.0;
  odd[0] = 0.0256;
  rows[0] = -0.0001;
  rows[539] = -4.0;
  measure(even, odd, rows);
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(camera->requests(0xC4).size(), 1U) << "erased once";
  const Bytes even_bytes = flash(*camera, 0x400, 1442);
  const Bytes row_bytes = flash(*camera, 0x480, 1082);
  EXPECT_EQ(Bytes(even_bytes.begin(), even_bytes.begin() + 4), (Bytes{123, 0, 0x85, 0xFF}));
  EXPECT_EQ(Bytes(even_bytes.end() - 4, even_bytes.end()), (Bytes{0xFF, 0x7F, 0xFF, 0xFF}));
  EXPECT_EQ(flash(*camera, 0x440, 2), (Bytes{0x00, 0x01}));
  EXPECT_EQ(row_bytes[0], 0xFF);
  EXPECT_EQ(Bytes(row_bytes.end() - 4, row_bytes.end()), (Bytes{0x00, 0x80, 0xFF, 0xFF}));
  CameraFree(0);

  ASSERT_EQ(CameraInit(0), 0U);
  const auto field = in_force();
  EXPECT_DOUBLE_EQ(field->column_table_a()[0], 0.0123);
  EXPECT_DOUBLE_EQ(field->column_table_a()[1], -0.0123);
  EXPECT_DOUBLE_EQ(field->column_table_b()[0], 0.0256);
  EXPECT_DOUBLE_EQ(field->row_table()[0], -0.0001);
  EXPECT_DOUBLE_EQ(field->row_table()[539], -3.2768);
  EXPECT_TRUE(get(CameraGetFPN, 0));
}

TEST_F(FlashTables, LongOnesRepeatTheirFirstBlock) {
  const auto camera = init("3A00");  // 3664 x 2748
  measure(ramp(3664, 1), ramp(3664, 1), ramp(2748, 2));
  camera->clear_requests();
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  std::vector<std::pair<int, int>> blocks;
  for (const auto& request : camera->requests(0xC2)) blocks.emplace_back(request.index, request.length);
  EXPECT_EQ(blocks,
            (std::vector<std::pair<int, int>>{
                {0x400, 4096}, {0x410, 3232}, {0x440, 4096}, {0x450, 3232}, {0x480, 4096}, {0x490, 1400}}));
  EXPECT_EQ(CameraLoadParameter(0, 0), 0U);
  const auto field = in_force();
  ASSERT_EQ(field->column_table_a().size(), 3664U);
  EXPECT_NEAR(field->column_table_a()[2047], 0.2048, 1.1e-4);
  EXPECT_EQ(field->column_table_a()[2048], field->column_table_a()[0]);
  EXPECT_EQ(field->row_table()[2747], field->row_table()[699]);
}

TEST_F(FlashTables, AreLeftAloneByBridgesThatCannotKeepThem) {
  const struct {
    const char* camera;
    bool kept;
  } rows[] = {{"3600,fw=0x830F", false}, {"3600,fw=0x8310", true}, {"3A3B,fw=0x8300", true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.camera);
    const auto camera = init(row.camera);
    EXPECT_EQ(get(CameraGetFPN, 0), row.kept) << "whatever was stored";
    EXPECT_EQ(camera->requests(0xC3).size(), row.kept ? 3U : 0U);
    CameraSetFPN(0, true);
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    EXPECT_EQ(get(CameraGetFPN, 0), row.kept);
    EXPECT_EQ(camera->requests(0xC4).size(), row.kept ? 1U : 0U);
    EXPECT_EQ(camera->eeprom(kSet0 + 0x08) & 0x08, 0) << "the stored switch is the one before";
    camera->clear_requests();
    CameraSetFPN(0, false);
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    EXPECT_TRUE(camera->requests(0xC2).empty()) << "only while the correction is on";
    CameraFree(0);
    bus_.unplug(*camera);
  }
}

TEST_F(FlashTables, ACameraOpenedWithoutTablesKeepsThoseInItsFlash) {
  const auto camera = open_registers("3A3B");
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  CameraLoadParameter(0, 0);
  EXPECT_TRUE(camera->requests(0xC4).empty());
  EXPECT_TRUE(camera->requests(0xC3).empty());
}

TEST_F(FlashTables, AnUnreadableTableIsNoCorrection) {
  const auto camera = init("3600");
  measure(Table(720, 0.5), Table(720, 0.5), Table(540, 0.5));
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  camera->inject({.requests = {{.action = Fault::kStall, .which = {1, 2}, .code = 0xC3},
                               {.action = Fault::kShort, .which = {3, 3}, .code = 0xC3, .length = 101}}});
  EXPECT_EQ(CameraLoadParameter(0, 0), 0U) << "and no failure";
  EXPECT_EQ(in_force()->column_table_a()[0], 0.0);
  EXPECT_DOUBLE_EQ(in_force()->column_table_b()[49], 0.5);
  EXPECT_DOUBLE_EQ(in_force()->row_table()[539], 0.5);
}

TEST_F(FlashTables, TheTableOfTwelveBitSamples) {
  const auto camera = init("369B");
  Bytes lut(4096);
  for (size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<uint8_t>(i * 7);
  CameraSetLUT(0, lut.data(), 4096);
  camera->clear_requests();
  EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
  EXPECT_EQ(indices(*camera, 0xC4), (std::vector<uint16_t>{4, 6})) << "both areas are erased first";
  EXPECT_EQ(flash(*camera, 0x600, 4096), lut);
  CameraFree(0);

  ASSERT_EQ(CameraInit(0), 0U);
  Bytes loaded(4096);
  int length = 4096;
  EXPECT_EQ(CameraGetLUT(0, loaded.data(), &length), 0U);
  EXPECT_EQ(loaded, lut);
}

}  // namespace
}  // namespace kxcam::test
