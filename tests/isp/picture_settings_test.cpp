// SPDX-License-Identifier: Apache-2.0
#include "core/picture/picture_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "context_fixture.h"
#include "sync/clock.h"

// The settings of the picture: their ranges, and the tables they make.

namespace kxcam::test {
namespace {

using testing::Each;
using testing::ElementsAre;

class PictureSettings : public ContextTest {
 protected:
  static bool set_tables(const std::vector<double>& columns, const std::vector<double>& odd,
                         const std::vector<double>& rows) {
    return set_fpn_data(*context_at(kCamera), columns.data(), odd.data(), rows.data(),
                        static_cast<int>(columns.size()), static_cast<int>(rows.size()));
  }
  static std::shared_ptr<const ToneCurves> curves() { return context_at(kCamera)->picture.curves.load(); }
};

struct RealSetting {
  uint32_t (*set)(int, double);
  uint32_t (*get)(int, double*);
  double least;
  double greatest;
};

uint32_t set_red_gain(int camera, double gain) {
  return CameraSetWBGain(camera, gain, 1, 1);
}
uint32_t get_red_gain(int camera, double* gain) {
  return CameraGetWBGain(camera, gain, nullptr, nullptr);
}
uint32_t set_blue_gain(int camera, double gain) {
  return CameraSetWBGain(camera, 1, 1, gain);
}
uint32_t get_blue_gain(int camera, double* gain) {
  return CameraGetWBGain(camera, nullptr, nullptr, gain);
}

TEST_F(PictureSettings, KeepWithinTheirRangesAndTestTheIndexThenTheValueThenTheContext) {
  constexpr RealSetting kReals[] = {{CameraSetGamma, CameraGetGamma, 0.3, 2.0},
                                    {CameraSetContrast, CameraGetContrast, 0.3, 2.0},
                                    {CameraSetSaturation, CameraGetSaturation, 0.0, 2.0},
                                    {set_red_gain, get_red_gain, 0.0, 3.0},
                                    {set_blue_gain, get_blue_gain, 0.0, 3.0}};
  for (const RealSetting& setting : kReals) {
    EXPECT_EQ(code_of(setting.set, 256, 9.0), KXCAM_ERROR_INDEX);
    EXPECT_EQ(code_of(setting.set, kCamera, 9.0), KXCAM_ERROR_ARGUMENT);
    EXPECT_EQ(code_of(setting.set, kCamera, 1.0), KXCAM_ERROR_NOT_OPEN);
    open(kBGGR);
    EXPECT_EQ(get(setting.get, kCamera), 1.0);
    for (const double value : {setting.greatest, setting.least}) {
      EXPECT_EQ(setting.set(kCamera, value), 0U);
      EXPECT_EQ(get(setting.get, kCamera), value);
    }
    const auto before = curves();
    for (const double value :
         {setting.least - 0.01, setting.greatest + 0.01, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
      EXPECT_EQ(code_of(setting.set, kCamera, value), KXCAM_ERROR_ARGUMENT) << value;
    }
    EXPECT_EQ(get(setting.get, kCamera), setting.least);
    EXPECT_EQ(curves(), before) << "a refused value rebuilds nothing";
    vacate_slot(kCamera);
  }
  EXPECT_EQ(code_of(CameraSetBlackLevel, kCamera, 256), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code_of(CameraSetBlackLevel, kCamera, 255), KXCAM_ERROR_NOT_OPEN);
  EXPECT_EQ(code_of(CameraSetInterpolation, kCamera, 1), KXCAM_ERROR_NOT_OPEN);
  open(kBGGR);
  for (const int level : {255, 0, 41}) {
    EXPECT_EQ(CameraSetBlackLevel(kCamera, level), 0U);
    EXPECT_EQ(get(CameraGetBlackLevel, kCamera), level);
  }
  for (const int level : {256, -1})
    EXPECT_EQ(code_of(CameraSetBlackLevel, kCamera, level), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(get(CameraGetBlackLevel, kCamera), 41);
  EXPECT_EQ(CameraSetInterpolation(kCamera, 0x1FE), 0U);
  EXPECT_EQ(get(CameraGetInterpolation, kCamera), 0xFE);
}

TEST_F(PictureSettings, ComposeTheCurvesOfAllOfThem) {
  open(kBGGR);
  EXPECT_TRUE(ok(CameraSetContrast(kCamera, 1.5)) && ok(CameraSetBlackLevel(kCamera, 30)) &&
              ok(CameraSetGamma(kCamera, 1.8)) && ok(CameraSetWBGain(kCamera, 3.0, 2.0, 0.0)));
  const Curve gamma = build_gamma_curve(1.8);
  const Curve contrast = build_contrast_curve(1.5, 30);
  for (size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(curves()->final_curve_r[i], gamma[contrast[std::min<size_t>(3 * i, 255)]]);
    EXPECT_EQ(curves()->final_curve_g[i], gamma[contrast[std::min<size_t>(2 * i, 255)]]);
    EXPECT_EQ(curves()->final_curve_b[i], gamma[contrast[0]]);
    EXPECT_EQ(curves()->mono_curve[i], gamma[contrast[i]]);
  }
}

TEST_F(PictureSettings, EnhancementUsesTheMatrixThatWasLastRebuilt) {
  const ContextRef ctx = open(kBGGR);
  const auto matrix = [&](size_t entry) {
    return ctx->picture.matrix.load()->color_matrix_table[entry][100];
  };
  const MatrixTable grey = ctx->picture.matrix.load()->grey_matrix_table;
  ASSERT_EQ(CameraSetEnhancement(kCamera, true), 0U);
  EXPECT_EQ(matrix(0), 0) << "the camera's own matrix is all zero";
  constexpr std::array<double, 9> kCcm = {2, 0, 0, 0, 0.5, 0, 0, 0, -1};
  set_ccm(*context_at(kCamera), kCcm);
  std::array<double, 9> ccm{};
  get_ccm(*context_at(kCamera), ccm);
  EXPECT_EQ(ccm, kCcm);
  EXPECT_EQ(matrix(0), 0);
  ASSERT_EQ(CameraSetSaturation(kCamera, 1.0), 0U);
  EXPECT_EQ(matrix(0), 200);
  EXPECT_EQ(matrix(8), -100);
  EXPECT_EQ(ctx->picture.matrix.load()->grey_matrix_table, grey);
  ASSERT_EQ(CameraSetEnhancement(kCamera, false), 0U);
  EXPECT_EQ(matrix(0), 100);
}

TEST_F(PictureSettings, CopyAsMuchOfTheUserTableAsThereIs) {
  open(kMono8);
  const std::vector<uint8_t> lut(5000, 9);
  int length = 0;
  for (const int entries : {2, 0, -5}) ASSERT_EQ(CameraSetLUT(kCamera, lut.data(), entries), 0U);
  std::vector<uint8_t> read(4096);
  length = 4096;
  ASSERT_EQ(CameraGetLUT(kCamera, read.data(), &length), 0U);
  EXPECT_THAT(std::vector(read.begin(), read.begin() + 3), ElementsAre(9, 9, 0));
  EXPECT_EQ(read[4095], 255);
  ASSERT_EQ(CameraSetLUT(kCamera, lut.data(), 5000), 0U);
  for (const int asked : {5000, 3, -1}) {
    read.assign(5000, 0xA5);
    length = asked;
    ASSERT_EQ(CameraGetLUT(kCamera, read.data(), &length), 0U);
    EXPECT_EQ(std::ranges::count(read, 9), std::clamp(asked, 0, 4096));
  }
  ASSERT_EQ(CameraGetLUT(kCamera, nullptr, &length), 0U);
  EXPECT_EQ(length, 256);
  open(kMono12);
  ASSERT_EQ(CameraGetLUT(kCamera, nullptr, &length), 0U);
  EXPECT_EQ(length, 4096);
}

TEST_F(PictureSettings, OfTwoThreadsAreNotLost) {
  open(kBGGR);
  std::thread contrast;
  context_at(kCamera)->picture.curves.update([&](ToneCurves& changed) {
    contrast = std::thread([] { CameraSetContrast(kCamera, 0.6); });
    sysdelay(50);  // in which it would end, did it not wait
    changed.gamma_curve = build_gamma_curve(1.9);
  });
  contrast.join();
  EXPECT_EQ(curves()->gamma_curve, build_gamma_curve(1.9));
  EXPECT_EQ(curves()->contrast_curve, build_contrast_curve(0.6, 0));
  EXPECT_EQ(curves()->final_curve_r[100], curves()->gamma_curve[curves()->contrast_curve[100]]);
}

TEST_F(PictureSettings, FixedPatternReplacesTheFirstEntriesOfTheTables) {
  const ContextRef ctx = open(kBGGR);
  const auto field = [&] { return ctx->picture.flat_field.load(); };
  EXPECT_EQ(code_of([&] { return set_tables({1}, {1}, {}); }), KXCAM_ERROR_ARGUMENT)
      << "without acquisition there are no tables";
  ctx->picture.flat_field.store(std::make_shared<const FlatField>(SensorSize{4, 3}));
  ASSERT_TRUE(set_tables({9, 9, 9, 9}, {9, 9, 9, 9}, {9, 9, 9}));
  ASSERT_TRUE(set_tables({1, 2, 3}, {5, 6, 7}, {1, 2}));
  // One table of columns alone counts for nothing, nor does a length of none.
  ASSERT_TRUE(set_fpn_data(*context_at(kCamera), std::array{8.0}.data(), nullptr, nullptr, 1, 0));
  ASSERT_TRUE(set_fpn_data(*context_at(kCamera), std::array{8.0}.data(), std::array{8.0}.data(),
                           std::array{8.0}.data(), 0, -1));
  EXPECT_THAT(field()->column_table_a(), ElementsAre(1, 2, 3, 9));
  EXPECT_THAT(field()->column_table_b(), ElementsAre(5, 6, 7, 9));
  EXPECT_THAT(field()->row_table(), ElementsAre(1, 2, 9));
  const std::vector<double> five(5, 8.0);
  for (const auto& [columns, rows] : {std::pair{5, 3}, {4, 4}, {2147483647, 0}}) {
    EXPECT_EQ(code_of([&, c = columns, r = rows] {
                return set_fpn_data(*context_at(kCamera), five.data(), five.data(), five.data(), c, r);
              }),
              KXCAM_ERROR_ARGUMENT);
  }
  EXPECT_THAT(field()->row_table(), ElementsAre(1, 2, 9));
  ctx->parameter.resolution_mode = 3;  // keeps no rows
  ASSERT_TRUE(set_fpn_data(*context_at(kCamera), nullptr, nullptr, nullptr, 0, 0));
  EXPECT_THAT(field()->row_table(), ElementsAre(1, 2, 9));
  ASSERT_TRUE(set_tables({8}, {8}, {8}));
  EXPECT_THAT(field()->row_table(), Each(0.0));
  EXPECT_THAT(field()->column_table_a(), ElementsAre(8, 2, 3, 9));
}

}  // namespace
}  // namespace kxcam::test
