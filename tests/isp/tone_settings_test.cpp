// SPDX-License-Identifier: Apache-2.0
#include "core/picture/tone_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "context_fixture.h"
#include "core/registry/camera_parameter.h"

namespace kxcam::test {
namespace {

using ToneSettings = ContextTest;

struct RealSetting {
  uint32_t (*set)(int, double);
  uint32_t (*get)(int, double*);
  double least;
  double greatest;
};

constexpr RealSetting kRealSettings[] = {
    {CameraSetGamma, CameraGetGamma, 0.3, 2.0},
    {CameraSetContrast, CameraGetContrast, 0.3, 2.0},
    {CameraSetSaturation, CameraGetSaturation, 0.0, 2.0},
};

TEST_F(ToneSettings, KeepValuesWithinTheirRange) {
  open(kBGGR);
  for (const RealSetting& setting : kRealSettings) {
    EXPECT_EQ(get(setting.get, kCamera), 1.0);
    EXPECT_TRUE(ok(setting.set(kCamera, setting.greatest)));
    EXPECT_EQ(get(setting.get, kCamera), setting.greatest);
    EXPECT_TRUE(ok(setting.set(kCamera, setting.least)));
    for (const double value :
         {setting.least - 0.01, setting.greatest + 0.01, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
      EXPECT_EQ(code_of(setting.set, kCamera, value), KXCAM_ERROR_ARGUMENT) << value;
    }
    EXPECT_EQ(get(setting.get, kCamera), setting.least);
  }
  for (const int level : {255, 0, 41}) {
    EXPECT_TRUE(ok(CameraSetBlackLevel(kCamera, level)));
    EXPECT_EQ(get(CameraGetBlackLevel, kCamera), level);
  }
  for (const int level : {256, -1}) {
    EXPECT_EQ(code_of(CameraSetBlackLevel, kCamera, level), KXCAM_ERROR_ARGUMENT);
  }
  EXPECT_EQ(get(CameraGetBlackLevel, kCamera), 41);
}

TEST_F(ToneSettings, TestTheIndexThenTheValueThenTheContext) {
  EXPECT_EQ(code_of(CameraSetGamma, 256, 9.0), KXCAM_ERROR_INDEX);
  EXPECT_EQ(code_of(CameraSetGamma, kCamera, 9.0), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code_of(CameraSetBlackLevel, kCamera, 256), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(code_of(CameraSetBlackLevel, kCamera, 255), KXCAM_ERROR_NOT_OPEN);
}

TEST_F(ToneSettings, ComposeTheCurvesOfAllOfThem) {
  const ContextRef ctx = open(kBGGR);
  ASSERT_TRUE(ok(CameraSetContrast(kCamera, 1.5)));
  ASSERT_TRUE(ok(CameraSetBlackLevel(kCamera, 30)));
  ASSERT_TRUE(ok(CameraSetGamma(kCamera, 1.8)));
  const auto curves = ctx->picture.curves.load();
  const Curve gamma = build_gamma_curve(1.8);
  const Curve contrast = build_contrast_curve(1.5, 30);
  for (size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(curves->final_curve_r[i], gamma[contrast[i]]);
    EXPECT_EQ(curves->mono_curve[i], gamma[contrast[i]]);
  }
  ASSERT_TRUE(ok(CameraSetBlackLevel(kCamera, 0)));
  EXPECT_EQ(ctx->picture.curves.load()->contrast_curve, build_contrast_curve(1.5, 0));
}

TEST_F(ToneSettings, EnhancementRebuildsTheGammaCurveWithoutComposing) {
  const ContextRef ctx = open(kBGGR);
  ctx->parameter.isp_flags = kMirrorX | kRotate90;
  ctx->parameter.gamma = 1.7;
  ASSERT_TRUE(ok(CameraSetEnhancement(kCamera, true)));
  EXPECT_EQ(get(CameraGetEnhancement, kCamera), 1);
  EXPECT_EQ(ctx->picture.curves.load()->gamma_curve, build_gamma_curve(1.7));
  EXPECT_EQ(ctx->picture.curves.load()->final_curve_g, identity_curve());
  EXPECT_EQ(ctx->picture.matrix.load()->color_matrix_table[0][255], 0)
      << "the camera's own matrix is all zero";
  ASSERT_TRUE(ok(CameraSetEnhancement(kCamera, false)));
  EXPECT_EQ(get(CameraGetEnhancement, kCamera), 0);
  EXPECT_EQ(ctx->picture.matrix.load()->color_matrix_table[0][255], 255);
  EXPECT_EQ(ctx->parameter.isp_flags, kMirrorX | kRotate90);
}

TEST_F(ToneSettings, HandTheMatrixBackAndUseItAtTheNextRebuild) {
  const ContextRef ctx = open(kBGGR);
  ASSERT_TRUE(ok(CameraSetEnhancement(kCamera, true)));
  constexpr std::array<double, 9> kCcm = {2, 0, 0, 0, 0.5, 0, 0, 0, -1};
  ASSERT_TRUE(set_ccm(kCamera, kCcm));
  std::array<double, 9> ccm{};
  ASSERT_TRUE(get_ccm(kCamera, ccm));
  EXPECT_EQ(ccm, kCcm);
  EXPECT_EQ(ctx->picture.matrix.load()->color_matrix_table[0][100], 0);
  const MatrixTable grey = ctx->picture.matrix.load()->grey_matrix_table;
  ASSERT_TRUE(ok(CameraSetSaturation(kCamera, 1.0)));
  EXPECT_EQ(ctx->picture.matrix.load()->color_matrix_table[0][100], 200);
  EXPECT_EQ(ctx->picture.matrix.load()->color_matrix_table[8][100], -100);
  EXPECT_EQ(ctx->picture.matrix.load()->grey_matrix_table, grey);
}

TEST_F(ToneSettings, CopyAsMuchOfTheUserTableAsThereIs) {
  const ContextRef ctx = open(kMono8);
  const std::vector<uint8_t> lut(5000, 9);
  std::vector<uint8_t> read(5000, 0xA5);
  int length = 0;
  ASSERT_TRUE(ok(CameraSetLUT(kCamera, lut.data(), 2)));
  ASSERT_TRUE(ok(CameraSetLUT(kCamera, lut.data(), 0)));
  ASSERT_TRUE(ok(CameraSetLUT(kCamera, lut.data(), -5)));
  EXPECT_EQ((*ctx->picture.user_lut.load())[1], 9);
  EXPECT_EQ((*ctx->picture.user_lut.load())[2], 0);
  EXPECT_EQ((*ctx->picture.user_lut.load())[4095], 255);
  ASSERT_TRUE(ok(CameraSetLUT(kCamera, lut.data(), 5000)));

  for (const int asked : {5000, 3, -1}) {
    read.assign(read.size(), 0xA5);
    length = asked;
    ASSERT_TRUE(ok(CameraGetLUT(kCamera, read.data(), &length)));
    EXPECT_EQ(std::ranges::count(read, 9), std::clamp(asked, 0, 4096));
  }
  ASSERT_TRUE(ok(CameraGetLUT(kCamera, nullptr, &length)));
  EXPECT_EQ(length, 256);
  vacate_slot(kCamera);
  open(kMono12);
  ASSERT_TRUE(ok(CameraGetLUT(kCamera, nullptr, &length)));
  EXPECT_EQ(length, 4096);
}

TEST_F(ToneSettings, OfTwoThreadsAreNotLost) {
  const ContextRef ctx = open(kBGGR);
  const auto set_often = [](double last, auto set) {
    for (int i = 0; i < 200; ++i) set(kCamera, i % 2 == 0 ? 1.0 : 1.2);
    set(kCamera, last);
  };
  std::thread gamma([&] { set_often(1.9, CameraSetGamma); });
  std::thread contrast([&] { set_often(0.6, CameraSetContrast); });
  gamma.join();
  contrast.join();
  const auto curves = ctx->picture.curves.load();
  EXPECT_EQ(curves->gamma_curve, build_gamma_curve(1.9));
  EXPECT_EQ(curves->contrast_curve, build_contrast_curve(0.6, 0));
  EXPECT_EQ(curves->final_curve_r[100], curves->gamma_curve[curves->contrast_curve[100]]);
}

}  // namespace
}  // namespace kxcam::test
