// SPDX-License-Identifier: Apache-2.0
#include "core/picture/correction_settings.h"

#include <array>
#include <cmath>

#include <gmock/gmock.h>

#include "context_fixture.h"
#include "core/picture/white_balance_settings.h"
#include "core/registry/camera_parameter.h"

namespace kxcam::test {
namespace {

using testing::Each;
using testing::ElementsAre;

class CorrectionSettings : public ContextTest {
 protected:
  /// A camera with tables of four columns and three rows, all entries 9.0.
  ContextRef open_with_tables() {
    ContextRef ctx = open(kBGGR);
    ctx->picture.flat_field.store(std::make_shared<const FlatField>(SensorSize{4, 3}));
    EXPECT_TRUE(set_fpn_data(kCamera, kNines.data(), kNines.data(), kNines.data(), 4, 3));
    return ctx;
  }

  static constexpr std::array<double, 4> kNines = {9, 9, 9, 9};
  static constexpr std::array<double, 4> kEven = {1, 2, 3, 4};
  static constexpr std::array<double, 4> kOdd = {5, 6, 7, 8};
};

TEST_F(CorrectionSettings, ReplaceTheFirstEntriesOfTheTables) {
  const ContextRef ctx = open_with_tables();
  ASSERT_TRUE(set_fpn_data(kCamera, kEven.data(), kOdd.data(), kEven.data(), 3, 2));
  auto field = ctx->picture.flat_field.load();
  EXPECT_THAT(field->column_table_a(), ElementsAre(1, 2, 3, 9));
  EXPECT_THAT(field->column_table_b(), ElementsAre(5, 6, 7, 9));
  EXPECT_THAT(field->row_table(), ElementsAre(1, 2, 9));
  ASSERT_TRUE(set_fpn_data(kCamera, kNines.data(), nullptr, kOdd.data(), 4, 3));
  ASSERT_TRUE(set_fpn_data(kCamera, nullptr, kNines.data(), nullptr, 4, 3));
  ASSERT_TRUE(set_fpn_data(kCamera, kNines.data(), kNines.data(), kNines.data(), 0, -1));
  field = ctx->picture.flat_field.load();
  EXPECT_THAT(field->column_table_a(), ElementsAre(1, 2, 3, 9));
  EXPECT_THAT(field->column_table_b(), ElementsAre(5, 6, 7, 9));
  EXPECT_THAT(field->row_table(), ElementsAre(5, 6, 7));
}

TEST_F(CorrectionSettings, KeepNoRowsInResolutionModeThree) {
  const ContextRef ctx = open_with_tables();
  ctx->parameter.resolution_mode = 3;
  ASSERT_TRUE(set_fpn_data(kCamera, nullptr, nullptr, nullptr, 0, 0));
  EXPECT_THAT(ctx->picture.flat_field.load()->row_table(), Each(9.0));
  ASSERT_TRUE(set_fpn_data(kCamera, kEven.data(), kOdd.data(), kEven.data(), 1, 1));
  EXPECT_THAT(ctx->picture.flat_field.load()->row_table(), Each(0.0));
  EXPECT_THAT(ctx->picture.flat_field.load()->column_table_a(), ElementsAre(1, 9, 9, 9));
}

TEST_F(CorrectionSettings, RefuseMoreEntriesThanTheSensorHas) {
  const auto code = [&](int columns, int rows) {
    return code_of(
        [&] { return set_fpn_data(kCamera, kEven.data(), kOdd.data(), kEven.data(), columns, rows); });
  };
  const ContextRef ctx = open_with_tables();
  EXPECT_EQ(code(5, 3), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code(4, 4), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code(2147483647, 0), KXCAM_ERROR_ARGUMENT);
  EXPECT_THAT(ctx->picture.flat_field.load()->column_table_a(), Each(9.0));
  EXPECT_THAT(ctx->picture.flat_field.load()->row_table(), Each(9.0));
  vacate_slot(kCamera);
  open(kBGGR);
  EXPECT_EQ(code(1, 0), KXCAM_ERROR_ARGUMENT) << "without acquisition there are no tables";
}

TEST_F(CorrectionSettings, SwitchesKeepApart) {
  const ContextRef ctx = open(kMono8);
  EXPECT_EQ(get(CameraGetDenoise, kCamera), 1);
  EXPECT_EQ(get(CameraGetFPN, kCamera), 1);
  EXPECT_EQ(get(CameraGetAWB, kCamera), 0);
  EXPECT_TRUE(ok(CameraSetDenoise(kCamera, false)));
  EXPECT_EQ(ctx->parameter.isp_flags, 0x0400);
  EXPECT_EQ(get(CameraGetDenoise, kCamera), 0);
  EXPECT_TRUE(ok(CameraSetFPN(kCamera, false)));
  EXPECT_TRUE(ok(CameraSetDenoise(kCamera, true)));
  EXPECT_EQ(ctx->parameter.isp_flags, 0x0800);
  EXPECT_EQ(get(CameraGetFPN, kCamera), 0);
  EXPECT_TRUE(ok(CameraSetFPN(kCamera, true)));
  EXPECT_FALSE(ctx->picture.auto_wb_request);
  EXPECT_TRUE(ok(CameraSetAWB(kCamera, true)));
  EXPECT_EQ(ctx->parameter.isp_flags, 0x0040);
  EXPECT_EQ(get(CameraGetAWB, kCamera), 1);
  EXPECT_TRUE(ctx->picture.auto_wb_request);
  EXPECT_FALSE(ctx->picture.one_push_request);
  EXPECT_TRUE(ok(CameraSetAWB(kCamera, false)));
  EXPECT_EQ(ctx->parameter.isp_flags, 0);
  EXPECT_TRUE(ok(CameraOnePushWB(kCamera)));
  EXPECT_TRUE(ctx->picture.one_push_request);
}

TEST_F(CorrectionSettings, GainsStayWithinTheirRange) {
  const ContextRef ctx = open(kRGGB);
  ASSERT_TRUE(ok(CameraSetWBGain(kCamera, 3.0, 2.0, 0.0)));
  const auto curves = ctx->picture.curves.load();
  EXPECT_EQ(curves->final_curve_r[84], 252);
  EXPECT_EQ(curves->final_curve_r[85], 255);
  EXPECT_EQ(curves->final_curve_g[127], 254);
  EXPECT_EQ(curves->final_curve_g[128], 255);
  EXPECT_THAT(curves->final_curve_b, Each(0));
  EXPECT_EQ(curves->mono_curve[77], 77);
  for (const double gain : {3.01, -0.01, std::nan(""), HUGE_VAL}) {
    EXPECT_EQ(code_of(CameraSetWBGain, kCamera, gain, 1, 1), KXCAM_ERROR_ARGUMENT);
    EXPECT_EQ(code_of(CameraSetWBGain, kCamera, 1, gain, 1), KXCAM_ERROR_ARGUMENT);
    EXPECT_EQ(code_of(CameraSetWBGain, kCamera, 1, 1, gain), KXCAM_ERROR_ARGUMENT);
  }
  double r = -1;
  double b = -1;
  EXPECT_TRUE(ok(CameraGetWBGain(kCamera, &r, nullptr, &b)));
  EXPECT_EQ(r, 3.0);
  EXPECT_EQ(b, 0.0);
  EXPECT_EQ(ctx->picture.curves.load(), curves) << "a refused gain rebuilds nothing";
}

TEST_F(CorrectionSettings, TestTheIndexThenTheValueThenTheContext) {
  EXPECT_EQ(code_of(CameraSetWBGain, 256, 9, 9, 9), KXCAM_ERROR_INDEX);
  EXPECT_EQ(code_of(CameraSetWBGain, kCamera, 9, 9, 9), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code_of(CameraSetWBGain, kCamera, 1, 1, 1), KXCAM_ERROR_NOT_OPEN);
}

}  // namespace
}  // namespace kxcam::test
