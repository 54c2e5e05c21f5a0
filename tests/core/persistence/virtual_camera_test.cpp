// SPDX-License-Identifier: Apache-2.0
#include "core/picture/virtual_camera.h"

#include "camera_bus.h"
#include "core/picture/picture_settings.h"
#include "core/registry/contexts.h"

namespace kxcam::test {
namespace {

class VirtualCamera : public CameraBus {
 protected:
  static constexpr int kVirtual = 3;
  static constexpr ISPParam kNeutral = {
      {1, 0, 0, 0, 1, 0, 0, 0, 1}, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 0, 0, 0, 0, 0, 0, 0};

  static Bytes develop(Bytes raw, int width, int height, int format) {
    int size = 0;
    EXPECT_EQ(CameraGetISPImageBufferSize(kVirtual, &size, width, height, format), 0U);
    Bytes picture(static_cast<size_t>(size), 0xEE);
    EXPECT_EQ(CameraISP(kVirtual, raw.data(), picture.data(), width, height, format), 0U);
    return picture;
  }

  static std::pair<int, int> size() {
    std::pair size(0, 0);
    EXPECT_EQ(CameraGetImageSize(kVirtual, &size.first, &size.second), 0U);
    return size;
  }
};

TEST_F(VirtualCamera, WithoutARecordIsNeutralButForItsBlackLevel) {
  setenv("KXUSB_CONF", "/nonexistent/kxusb.conf", 1);
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3500, nullptr), 0U) << "needs no configuration file";
  for (const auto getter : {CameraGetGamma, CameraGetSaturation, CameraGetContrast})
    EXPECT_EQ(get(getter, kVirtual), 1.0);
  EXPECT_EQ(get(CameraGetBlackLevel, kVirtual), 5);
  for (const auto getter :
       {CameraGetEnhancement, CameraGetFPN, CameraGetDenoise, CameraGetMirrorX, CameraGetMirrorY})
    EXPECT_FALSE(get(getter, kVirtual));
  EXPECT_EQ(size(), std::pair(2592, 1944));
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
  EXPECT_EQ(get(CameraGetGamma, kVirtual), 1.0);
  EXPECT_EQ(get(CameraGetContrast, kVirtual), 1.0);
  EXPECT_EQ(get(CameraGetSaturation, kVirtual), 0.5);
  EXPECT_EQ(get(CameraGetBlackLevel, kVirtual), 30);
  double r = 0;
  EXPECT_EQ(CameraGetWBGain(kVirtual, &r, nullptr, nullptr), 0U);
  EXPECT_EQ(r, 1.0);
  for (const auto getter : {CameraGetFPN, CameraGetDenoise, CameraGetMirrorY})
    EXPECT_TRUE(get(getter, kVirtual));
  EXPECT_FALSE(get(CameraGetMirrorX, kVirtual));
  EXPECT_EQ(size(), std::pair(480, 752)) << "the first model, rotated";
}

TEST_F(VirtualCamera, OccupiesItsIndexUntilItIsFreedAndHasNoDevice) {
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3600, nullptr), 0U);
  EXPECT_EQ(code_of(CameraInitVirtual, kVirtual, 0x3600, nullptr), KXCAM_ERROR_IN_USE);
  EXPECT_EQ(code_of(CameraInitVirtual, -1, 0x3600, nullptr), KXCAM_ERROR_INDEX);
  Bytes image(720 * 540);
  EXPECT_EQ(code_of(CameraISP, kVirtual, image.data(), image.data(), 720, 539, KXCAM_FORMAT_GREY),
            KXCAM_ERROR_ARGUMENT);
  // What else fails without a device is in the table of every function.
  EXPECT_EQ(code_of(CameraReconnect, kVirtual), KXCAM_ERROR_NO_DEVICE);
  CameraFree(kVirtual);
  EXPECT_EQ(CameraInitVirtual(kVirtual, 0x3600, nullptr), 0U);
}

TEST_F(VirtualCamera, TheMatrixActsFromTheNextSaturationOn) {
  ISPParam param = kNeutral;
  param.ccm[0] = 2.0;
  param.enhancement = 1;
  ASSERT_EQ(CameraInitVirtual(kVirtual, 0x3600, &param), 0U);
  const Bytes grey(720 * 540, 50);
  const size_t middle = (270 * 720 + 360) * 3;
  EXPECT_EQ(develop(grey, 720, 540, KXCAM_FORMAT_COLOR)[middle + 1], 0) << "black until then";
  EXPECT_EQ(CameraSetSaturation(kVirtual, 1.0), 0U);
  const auto picture = develop(grey, 720, 540, KXCAM_FORMAT_COLOR);
  EXPECT_EQ(std::vector(picture.begin() + middle, picture.begin() + middle + 3), (Bytes{100, 50, 50}));
}

TEST_F(VirtualCamera, MakesThePicturesThatACameraMakes) {
  for (const char* model : {"3600", "0030", "3920", "360B"}) {
    SCOPED_TRACE(model);
    const auto camera = plug(std::string(model) + ",fps=0");
    const auto& row = camera->model();
    const int width = row.width;
    const int height = row.height;
    const auto raw = numbered(7, static_cast<size_t>(width) * static_cast<size_t>(height));
    camera->set_frame_source([raw](const kxsim::FrameRequest&, std::span<uint8_t> out) {
      std::copy_n(raw.begin(), std::min(out.size(), raw.size()), out.begin());
    });
    ASSERT_EQ(CameraInit(0), 0U);
    // Matrix, gamma, saturation, contrast, gains, black level; rotated, mirrored in x, all corrections.
    const ISPParam param = {
        {1.5, -0.25, -0.25, 0, 1, 0, 0.1, -0.2, 1.1}, 0.7, 1.4, 1.2, 1.3, 1.0, 0.8, 11, 1, 1, 0, 1, 1, 1};
    ASSERT_EQ(CameraInitVirtual(kVirtual, static_cast<int>(row.product_id), &param), 0U);
    for (const int index : {0, kVirtual}) {
      set_ccm(*context_at(index), param.ccm);
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
