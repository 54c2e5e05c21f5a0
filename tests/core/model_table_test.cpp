// SPDX-License-Identifier: Apache-2.0
#include "core/registry/model_table.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace kxcam {
namespace {

TEST(ModelTable, EveryProductIdFindsItsOwnRow) {
  for (int row = 0; row < kModelCount; ++row) EXPECT_EQ(find_model(model_table[row].PID), row);
  EXPECT_EQ(find_model(0x3FF0), kUnknownModel);
  EXPECT_EQ(find_model(0x10500), kUnknownModel);
}

TEST(ModelTable, NamesTellMegapixelsAndColour) {
  EXPECT_STREQ(model_table[14].MODEL, "Model 5MP-C");
  EXPECT_STREQ(model_table[22].MODEL, "Model 5MP-M");
  EXPECT_STREQ(model_table[43].MODEL, "Model 0.3MP-M12");
  for (const CameraModel& model : model_table) {
    const int tenths = model.SENSOR_ARRAY.pixels() / 100000;
    std::string name = "Model " + std::to_string(tenths / 10);
    if (tenths % 10 != 0) name += "." + std::to_string(tenths % 10);
    name += model.COLOR_MODE == kMono12 ? "MP-M12" : model.monochrome() ? "MP-M" : "MP-C";
    EXPECT_EQ(model.MODEL, name);
  }
}

// The table is typed in; its redundancies catch a slip of the hand.
TEST(ModelTable, ColumnsAgreeWithEachOther) {
  std::set<uint32_t> products;
  for (const CameraModel& model : model_table) {
    SCOPED_TRACE(model.PID);
    products.insert(model.PID);
    EXPECT_EQ((model.PID & 0xF) == 0xB, model.monochrome());
    const bool keeps_family_digit = model.MID == model.PID;
    const bool shares_sensor = model.PID == 0x369B || (model.PID & 0xFFF0) == 0x36C0;
    EXPECT_TRUE(keeps_family_digit || model.MID == (model.PID & 0xFFF) || shares_sensor);
    EXPECT_EQ(model.newer_bridge(), (model.PID >> 12) == 3);
    EXPECT_GE(model.SENSOR_ARRAY.width, 400);
    EXPECT_LE(model.SENSOR_ARRAY.pixels(), 5472 * 3648);
  }
  EXPECT_EQ(products.size(), 82U);
}

}  // namespace
}  // namespace kxcam
