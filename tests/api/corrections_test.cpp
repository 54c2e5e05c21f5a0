// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>

#include "camera_bus.h"
#include "scene/scene.h"
#include "scene/sensor.h"

namespace kxcam::test {
namespace {

constexpr int kWidth = 720;
constexpr int kHeight = 540;

class Corrections : public CameraBus {
 protected:
  /// The raw frame as the pipeline corrects it.
  static Bytes corrected(Bytes raw) {
    Bytes out(raw.size());
    EXPECT_EQ(CameraISP(0, raw.data(), out.data(), kWidth, kHeight, KXCAM_FORMAT_RAW), 0U);
    return out;
  }

  /// Mean red, green and blue of a colour picture.
  static std::array<double, 3> mean_color(int format) {
    const auto image = query(KXCAM_FORMAT_COLOR | format);
    std::array<double, 3> mean{};
    for (size_t i = 0; i < image.size(); ++i) mean.at(i % 3) += image[i];
    for (double& channel : mean) channel /= static_cast<double>(image.size()) / 3;
    return mean;
  }
};

/// The camera's maker finds the stuck pixels and lists them in the EEPROM.
void list_stuck_pixels(kxsim::SimulatedCamera& camera, std::span<const kxsim::StuckPixel> pixels) {
  uint16_t address = 0x1E00;
  const auto put = [&](int word) {
    camera.set_eeprom(address++, static_cast<uint8_t>(word >> 8));
    camera.set_eeprom(address++, static_cast<uint8_t>(word));
  };
  put(static_cast<int>(pixels.size()));
  for (const auto& pixel : pixels) {
    put(pixel.x);
    put(pixel.y);
  }
}

TEST_F(Corrections, ReplaceThePixelsThatTheCameraListsAsDead) {
  constexpr int kStuck = 60;
  const auto camera = plug("3600,fps=0,noise=0,seed=9,dead=" + std::to_string(kStuck));
  const kxsim::Sensor twin({.width = kWidth, .height = kHeight, .seed = 9, .dead_pixels = kStuck},
                           kxsim::make_uniform({}));
  const auto stuck = twin.stuck_pixels();
  ASSERT_EQ(stuck.size(), size_t{kStuck});
  list_stuck_pixels(*camera, stuck);
  camera->set_scene(kxsim::make_uniform({0.5F, 0.5F, 0.5F}));
  ASSERT_EQ(CameraInit(0), 0U);
  ASSERT_EQ(CameraSetDenoise(0, false), 0U);

  const auto raw = query_raw();
  const int level = raw.at(0);
  const auto is_stuck = [](uint8_t sample) { return sample == 0 || sample == 255; };
  EXPECT_EQ(std::ranges::count_if(raw, is_stuck), kStuck);
  auto expected = raw;
  for (const auto& pixel : stuck) {
    const size_t i = static_cast<size_t>(pixel.y) * kWidth + static_cast<size_t>(pixel.x);
    if (pixel.x >= 2) expected[i] = expected[i - 2];
  }
  EXPECT_LT(std::ranges::count_if(expected, is_stuck), 3);
  EXPECT_EQ(corrected(raw), expected);
  EXPECT_TRUE(level > 20 && level < 235);

  // The hot ones are speckles too; a list that is not loaded leaves them to that.
  CameraFree(0);
  list_stuck_pixels(*camera, {});
  ASSERT_EQ(CameraInit(0), 0U);
  const auto hot = [](const Bytes& frame) { return std::ranges::count(frame, 255); };
  EXPECT_GT(hot(query_raw()), 10);
  EXPECT_LT(hot(corrected(query_raw())), 4);
}

TEST_F(Corrections, DenoiseActsOnThePicture) {
  open("3600");
  const Bytes noise = numbered(1, size_t{kWidth} * kHeight);
  EXPECT_NE(corrected(noise), noise);
  EXPECT_EQ(CameraSetDenoise(0, false), 0U);
  EXPECT_EQ(corrected(noise), noise);
}

TEST_F(Corrections, OnePushTakesAColourCastAway) {
  for (const auto* model : {"3600", "3010", "3A30"}) {
    SCOPED_TRACE(model);
    const auto camera = plug(std::string(model) + ",fps=0");
    camera->set_scene(kxsim::make_uniform({0.30F, 0.60F, 0.45F}));
    ASSERT_EQ(CameraInit(0), 0U);
    const auto cast = mean_color(0);
    EXPECT_NEAR(cast[0] / cast[1], 0.5, 0.03);
    EXPECT_NEAR(cast[2] / cast[1], 0.75, 0.03);
    ASSERT_EQ(CameraOnePushWB(0), 0U);
    const auto neutral = mean_color(0);
    EXPECT_NEAR(neutral[0], neutral[1], 0.02 * neutral[1]);
    EXPECT_NEAR(neutral[2], neutral[1], 0.02 * neutral[1]);
    double r = 0;
    double b = 0;
    EXPECT_EQ(CameraGetWBGain(0, &r, nullptr, &b), 0U);
    EXPECT_NEAR(r, 2.0, 0.1);
    EXPECT_NEAR(b, 1.33, 0.1);
    EXPECT_EQ(CameraSetWBGain(0, 1.0, 1.0, 1.0), 0U);
    EXPECT_NEAR(mean_color(0)[0] / neutral[1], 0.5, 0.03);
    EXPECT_EQ(CameraFree(0), 0U);
    bus_.unplug(*camera);
  }
}

}  // namespace
}  // namespace kxcam::test
