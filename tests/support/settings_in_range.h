// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "calls.h"

namespace kxcam::test {

template <class T>
void expect_within(uint32_t (*getter)(int, T*), int camera, T least, T greatest, const char* what) {
  const T value = get(getter, camera);
  EXPECT_TRUE(value >= least && value <= greatest) << what << " is " << value;
}

/// Whatever has happened, no setting of a camera is one that its setter would have refused.
inline void expect_settings_in_range(int camera) {
  expect_within(CameraGetGain, camera, 1, 255, "gain");
  expect_within(CameraGetExposure, camera, 1, 0xFFFFFF, "exposure");
  expect_within(CameraGetGamma, camera, 0.3, 2.0, "gamma");
  expect_within(CameraGetContrast, camera, 0.3, 2.0, "contrast");
  expect_within(CameraGetSaturation, camera, 0.0, 2.0, "saturation");
  expect_within(CameraGetBlackLevel, camera, 0, 255, "black level");
  expect_within(CameraGetAETarget, camera, 0, 255, "auto-exposure target");
  expect_within(CameraGetTimeout, camera, 500, 50000, "time-out");
  expect_within(CameraGetSnapNum, camera, 1, 65535, "frames per trigger");
  expect_within(CameraGetStrobePolarity, camera, 0, 1, "strobe polarity");
  double r = 0;
  double g = 0;
  double b = 0;
  EXPECT_EQ(CameraGetWBGain(camera, &r, &g, &b), 0U);
  for (const double gain : {r, g, b}) EXPECT_TRUE(gain >= 0 && gain <= 3) << "white balance is " << gain;
}

}  // namespace kxcam::test
