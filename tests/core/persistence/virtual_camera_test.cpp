// SPDX-License-Identifier: Apache-2.0
#include "core/picture/virtual_camera.h"

#include <functional>

#include "camera_bus.h"
#include "core/persistence/parameter_sets.h"
#include "core/picture/tone_settings.h"
#include "core/registry/contexts.h"

namespace kxcam::test {
namespace {

class VirtualCamera : public CameraBus {
 protected:
  static constexpr int kVirtual = 3;
  static constexpr ISPParam kNeutral = {.ccm = {1, 0, 0, 0, 1, 0, 0, 0, 1},
                                        .gamma = 1.0,
                                        .saturation = 1.0,
                                        .contrast = 1.0,
                                        .wb_gain_r = 1.0,
                                        .wb_gain_g = 1.0,
                                        .wb_gain_b = 1.0,
                                        .black_level = 0,
                                        .rotate = 0,
                                        .mirror_x = 0,
                                        .mirror_y = 0,
                                        .enhancement = 0,
                                        .fpn = 0,
                                        .denoise = 0};

  static std::vector<uint8_t> develop(std::vector<uint8_t> raw, int width, int height, int format) {
    int size = 0;
    EXPECT_EQ(CameraGetISPImageBufferSize(kVirtual, &size, width, height, format), 0U);
    std::vector<uint8_t> picture(static_cast<size_t>(size), 0xEE);
    EXPECT_EQ(CameraISP(kVirtual, raw.data(), picture.data(), width, height, format), 0U);
    return picture;
  }

  static std::vector<uint8_t> query(int format) {
    int size = buffer_size(format);
    std::vector<uint8_t> picture(static_cast<size_t>(size), 0xEE);
    EXPECT_EQ(CameraQueryImage(0, picture.data(), &size, format), 0U);
    return picture;
  }

  static double real(uint32_t (*getter)(int, double*)) {
    double value = -1;
    EXPECT_EQ(getter(kVirtual, &value), 0U);
    return value;
  }
  static bool on(uint32_t (*getter)(int, bool*)) {
    bool value = true;
    EXPECT_EQ(getter(kVirtual, &value), 0U);
    return value;
  }
  static int black_level() {
    int value = -1;
    EXPECT_EQ(CameraGetBlackLevel(kVirtual, &value), 0U);
    return value;
  }
};

TEST_F(VirtualCamera, WithoutARecordIsNeutralButForItsBlackLevel) {
  setenv("KXUSB_CONF", "/nonexistent/kxusb.conf", 1);
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3500, nullptr), 0U) << "needs no configuration file";
  EXPECT_EQ(real(CameraGetGamma), 1.0);
  EXPECT_EQ(real(CameraGetSaturation), 1.0);
  EXPECT_EQ(real(CameraGetContrast), 1.0);
  EXPECT_EQ(black_level(), 5);
  EXPECT_FALSE(on(CameraGetEnhancement) || on(CameraGetFPN) || on(CameraGetDenoise) || on(CameraGetMirrorX) ||
               on(CameraGetMirrorY));
  std::array<double, 9> ccm{};
  EXPECT_TRUE(get_ccm(kVirtual, ccm));
  EXPECT_EQ(ccm, (std::array<double, 9>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  int width = 0;
  int height = 0;
  CameraGetImageSize(kVirtual, &width, &height);
  EXPECT_EQ(std::pair(width, height), std::pair(2592, 1944));
}

TEST_F(VirtualCamera, TakesARecordAsFarAsItIsInRange) {
  ISPParam param = kNeutral;
  param.gamma = 3.0;
  param.saturation = 0.5;
  param.contrast = 0.0;
  param.wb_gain_r = 3.5;
  param.black_level = 30;
  param.rotate = 1;
  param.mirror_y = 1;
  param.fpn = 1;
  param.denoise = 2;
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x12345, &param), 0U);
  EXPECT_EQ(real(CameraGetGamma), 1.0);
  EXPECT_EQ(real(CameraGetContrast), 1.0);
  EXPECT_EQ(real(CameraGetSaturation), 0.5);
  EXPECT_EQ(black_level(), 30);
  double r = 0;
  CameraGetWBGain(kVirtual, &r, nullptr, nullptr);
  EXPECT_EQ(r, 1.0);
  EXPECT_TRUE(on(CameraGetFPN) && on(CameraGetDenoise) && on(CameraGetMirrorY));
  EXPECT_FALSE(on(CameraGetMirrorX));
  int width = 0;
  int height = 0;
  CameraGetImageSize(kVirtual, &width, &height);
  EXPECT_EQ(std::pair(width, height), std::pair(480, 752)) << "the first model, rotated";
}

TEST_F(VirtualCamera, OccupiesItsIndexUntilItIsFreed) {
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3600, nullptr), 0U);
  EXPECT_EQ(CameraInitVirtual(kVirtual, 0x3600, nullptr), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_IN_USE);
  EXPECT_EQ(CameraInitVirtual(-1, 0x3600, nullptr), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_INDEX);
  CameraFree(kVirtual);
  EXPECT_EQ(CameraInitVirtual(kVirtual, 0x3600, nullptr), 0U);
}

TEST_F(VirtualCamera, HasNoDevice) {
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3600, nullptr), 0U);
  std::vector<uint8_t> image(720 * 540);
  std::array<char, 12> serial{};
  const std::vector<std::function<uint32_t()>> calls = {
      [&] { return CameraSaveParameter(kVirtual, 0); },
      [&] { return CameraLoadParameter(kVirtual, 0); },
      [&] { return CameraReconnect(kVirtual); },
      [&] { return CameraReadUserData(kVirtual, serial.data(), 1); },
      [&] { return CameraSetResolution(kVirtual, 0, nullptr, nullptr); },
      [&] {
        int size = 720 * 540;
        return CameraQueryImage(kVirtual, image.data(), &size, KXCAM_FORMAT_GREY);
      }};
  for (size_t i = 0; i < calls.size(); ++i) {
    last_error = KXCAM_ERROR_NONE_YET;
    EXPECT_EQ(calls[i](), 1U) << i;
    EXPECT_EQ(code(), KXCAM_ERROR_NO_DEVICE) << i;
  }
  EXPECT_EQ(CameraISP(kVirtual, image.data(), image.data(), 720, 539, KXCAM_FORMAT_GREY), 1U);
  EXPECT_EQ(code(), KXCAM_ERROR_ARGUMENT);
}

TEST_F(VirtualCamera, TheMatrixActsFromTheNextSaturationOn) {
  ISPParam param = kNeutral;
  param.ccm[0] = 2.0;
  param.enhancement = 1;
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3600, &param), 0U);
  const std::vector<uint8_t> grey(720 * 540, 50);
  const size_t middle = (270 * 720 + 360) * 3;
  EXPECT_EQ(develop(grey, 720, 540, KXCAM_FORMAT_COLOR)[middle + 1], 0) << "black until then";
  EXPECT_EQ(CameraSetSaturation(kVirtual, 1.0), 0U);
  const auto picture = develop(grey, 720, 540, KXCAM_FORMAT_COLOR);
  EXPECT_EQ(std::vector(picture.begin() + middle, picture.begin() + middle + 3),
            (std::vector<uint8_t>{100, 50, 50}));
}

TEST_F(VirtualCamera, MakesThePicturesThatACameraMakes) {
  for (const char* model : {"3600", "0030", "3920", "360B"}) {
    SCOPED_TRACE(model);
    const auto camera = plug(std::string(model) + ",fps=0");
    const auto& row = camera->model();
    const int width = row.width;
    const int height = row.height;
    camera->set_frame_source([](const kxsim::FrameRequest&, std::span<uint8_t> out) {
      std::ranges::copy(numbered(7, out.size()), out.begin());
    });
    ASSERT_EQ(CameraInit(0), 0U);
    const ISPParam param = {.ccm = {1.5, -0.25, -0.25, 0, 1, 0, 0.1, -0.2, 1.1},
                            .gamma = 0.7,
                            .saturation = 1.4,
                            .contrast = 1.2,
                            .wb_gain_r = 1.3,
                            .wb_gain_g = 1.0,
                            .wb_gain_b = 0.8,
                            .black_level = 11,
                            .rotate = 1,
                            .mirror_x = 1,
                            .mirror_y = 0,
                            .enhancement = 1,
                            .fpn = 1,
                            .denoise = 1};
    ASSERT_EQ(CameraInitVirtual(kVirtual, static_cast<int>(row.product_id), &param), 0U);
    for (const int index : {0, kVirtual}) {
      EXPECT_TRUE(set_ccm(index, param.ccm));
      CameraSetGamma(index, param.gamma);
      CameraSetContrast(index, param.contrast);
      CameraSetBlackLevel(index, param.black_level);
      CameraSetWBGain(index, param.wb_gain_r, param.wb_gain_g, param.wb_gain_b);
      CameraSetEnhancement(index, true);
      CameraSetSaturation(index, param.saturation);
    }
    CameraSetRotate(0, 90);
    CameraSetMirrorX(0, true);
    CameraSetFPN(0, true);
    CameraSetDenoise(0, true);
    const auto raw = numbered(7, static_cast<size_t>(width) * static_cast<size_t>(height));
    for (const int format :
         {KXCAM_FORMAT_COLOR + 0, KXCAM_FORMAT_COLOR | KXCAM_FORMAT_BGR | KXCAM_FORMAT_32BIT,
          KXCAM_FORMAT_GREY + 0}) {
      EXPECT_TRUE(query(format) == develop(raw, height, width, format)) << format;
    }
    CameraFree(0);
    CameraFree(kVirtual);
    bus_.unplug(*camera);
  }
}

}  // namespace
}  // namespace kxcam::test
